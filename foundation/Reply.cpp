#include "foundation/Reply.h"

#include <stdio.h>
#include <string.h>

#include <new>

#include "foundation/LiveHandles.h"

CBKReply::CBKReply() : size(sizeof(CBKReply)), status(0), data(nullptr) {
  bkHandleAdd(this, BKHandleKind::Reply);
}

CBKReply::CBKReply(const CBKReply& other) : size(sizeof(CBKReply)), status(0), data(nullptr) {
  bkHandleAdd(this, BKHandleKind::Reply);
  status = other.status;
  if (other.data != nullptr) setData(other.data);
}

CBKReply& CBKReply::operator=(const CBKReply& other) {
  if (this == &other) return *this;
  status = other.status;
  if (other.data != nullptr) {
    setData(other.data);
  } else {
    delete[] data;
    data = nullptr;
  }
  return *this;
}

CBKReply::~CBKReply() {
  bkHandleRemove(this, BKHandleKind::Reply);
  delete[] data;
}

const char* CBKReply::getData() {
  if (data == nullptr) {
    printf("%s: Someone is retrieving an empty string from getData()\n", "        -       .     ");
    return "";
  }
  return data;
}

void CBKReply::setData(const std::string& text) {
  delete[] data;
  data = new (std::nothrow) char[text.size() + 1];
  if (data == nullptr) {
    printf("%s(%d): ERROR: API could not allocate space for error string!!\n", __FILE__, __LINE__);
    return;
  }
  memset(data, 0, text.size() + 1);
  memcpy(data, text.data(), text.size());
}
