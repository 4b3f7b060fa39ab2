// BK_isSFCQueryUnitOK and BK_isUnitOutOfProcess under their plain C names, next
// to their C++ names: stations have bound both.  C++ cannot give one function
// two linkages, so these forwarders carry the plain names as their symbols.
#include "interface/Bramblekit.h"

#define BK_SYMBOL_TEXT(prefix) #prefix
#define BK_SYMBOL(prefix, name) BK_SYMBOL_TEXT(prefix) name
#define BK_PLAIN_SYMBOL(name) __asm__(BK_SYMBOL(__USER_LABEL_PREFIX__, name))

BK_EXPORT bool bkPlainIsSFCQueryUnitOK(UUTHandle handle, BKReplyHandle reply,
                                       const char* serialNumber)
    BK_PLAIN_SYMBOL("BK_isSFCQueryUnitOK");
BK_EXPORT bool bkPlainIsUnitOutOfProcess(UUTHandle handle, BKReplyHandle reply,
                                         const char* serialNumber)
    BK_PLAIN_SYMBOL("BK_isUnitOutOfProcess");

bool bkPlainIsSFCQueryUnitOK(UUTHandle handle, BKReplyHandle reply, const char* serialNumber) {
  return BK_isSFCQueryUnitOK(handle, reply, serialNumber);
}

bool bkPlainIsUnitOutOfProcess(UUTHandle handle, BKReplyHandle reply, const char* serialNumber) {
  return BK_isUnitOutOfProcess(handle, reply, serialNumber);
}
