// The object behind every BKReplyHandle: one status word and an optional text.
#ifndef BRAMBLEKIT_FOUNDATION_REPLY_H_
#define BRAMBLEKIT_FOUNDATION_REPLY_H_

#include <stddef.h>

#include <string>

class CBKReply {
 public:
  CBKReply();
  CBKReply(const CBKReply& other);
  CBKReply& operator=(const CBKReply& other);
  ~CBKReply();

  unsigned getStatus() const { return status; }
  // What BK_success answers for this reply: the fail bit is clear.
  bool succeeded() const { return static_cast<int>(status) >= 0; }
  void setStatus(unsigned newStatus) { status = newStatus; }
  // The text, or "" (with a note on standard output) when none was set.
  const char* getData();
  bool hasData() const { return data != nullptr; }
  void setData(const std::string& text);
  // The size the reply was made with, kept at the head of its layout.
  size_t getSize() const { return size; }

 private:
  size_t size;
  unsigned status;
  char* data;
};

#endif  // BRAMBLEKIT_FOUNDATION_REPLY_H_
