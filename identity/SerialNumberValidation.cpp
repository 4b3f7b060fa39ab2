// Whether a text is a serial number of one of the six layouts, and the fail
// policy for one that is not.  The test is purely syntactic; no server is
// asked.
//
// The year, week and day rules test what atoi makes of the field, not that
// it holds digits: the servers accept exactly what these rules accept, so a
// week "7X" passes as 7 and a letter in a year field passes as 0.
#include "identity/SerialNumberValidation.h"

#include <stdlib.h>
#include <string.h>

#include <exception>

#include "foundation/FailPolicy.h"
#include "foundation/Log.h"
#include "foundation/Reply.h"
#include "foundation/StationFiles.h"
#include "foundation/StatusWord.h"
#include "foundation/TextError.h"
#include "foundation/TextScanners.h"

namespace {

const char* const kPlantTexts[3] = {"Plant code position 1 is not alpha-numeric",
                                    "Plant code position 2 is not alpha-numeric",
                                    "Plant code position 3 is not alpha-numeric"};

bool isAlnum(char c) { return bkIsDigit(c) || bkIsAlpha(c); }

// The rules' lines carry the name of the validator they belong to.
void logLine(const std::string& uid, const std::string& text) {
  bkLogSessionLine(uid, "validateSerialNumber", text);
}

void requireAlnum(const std::string& sn, size_t position, const char* text) {
  if (!isAlnum(sn[position])) throw new BK_SNException_badFormat(text);
}

void requireAtoiBetween(const std::string& sn, size_t position, size_t length, int low, int high,
                        const char* text) {
  int value = atoi(sn.substr(position, length).c_str());
  if (value < low || value > high) throw new BK_SNException_badFormat(text);
}

// Lengths 11, 13 and above 18.  Nothing behind position 10 of the long
// layout is examined: it carries the part number and region, free text.
void checkOldFamily(const std::string& sn) {
  requireAlnum(sn, 0, kPlantTexts[0]);
  requireAlnum(sn, 1, kPlantTexts[1]);
  requireAtoiBetween(sn, 2, 1, 0, 9, "Year is not between 0 and 9");
  requireAtoiBetween(sn, 3, 2, 1, 53, "Week is not between 1 and 53");
  if (sn.length() == 13) {
    verifyChunkIsAlphaNumeric(sn, 5, 8);
    verifyChunkIsAlphaNumeric(sn, 9, 11);
    verifyChunkIsAlphaNumeric(sn, 12, 12);
  } else {
    verifyChunkIsAlphaNumeric(sn, 5, 7);
    verifyChunkIsAlphaNumeric(sn, 8, 10);
  }
}

// Lengths 12, 16 and 17.
void checkNewFamily(const std::string& UID, const std::string& sn) {
  for (size_t i = 0; i < 3; ++i) requireAlnum(sn, i, kPlantTexts[i]);
  logLine(UID, "After first 3: ");
  if (sn.length() == 12) {
    if (!bkIsAlpha(sn[3])) {
      logLine(UID, "After 4: ");
      throw new BK_SNException_badFormat("Year code position 4 is not alpha");
    }
    if (!isAlnum(sn[4])) {
      logLine(UID, "After first 5: ");
      throw new BK_SNException_badFormat("Week code position 1 is not alpha-numeric");
    }
    verifyChunkIsAlphaNumeric(sn, 5, 7);
    logLine(UID, "After first 5-7 :");
    verifyChunkIsAlphaNumeric(sn, 8, 11);
    logLine(UID, "After first 8-11 :");
    return;
  }
  requireAtoiBetween(sn, 3, 1, 0, 9, "Year is not between 0 and 9");
  requireAtoiBetween(sn, 4, 2, 1, 53, "Week is not between 1 and 53");
  requireAtoiBetween(sn, 6, 1, 1, 9, "Day is not between 1 and 9");
  verifyChunkIsAlphaNumeric(sn, 7, 10);
  verifyChunkIsAlphaNumeric(sn, 11, 14);
  verifyChunkIsAlphaNumeric(sn, 15, 15);
  if (sn.length() == 17) {
    verifyChunkIsAlphaNumeric(sn, 16, 16);
    if (!identity::ValidateSerialNumberChecksum(sn)) {
      throw new BK_SNException_badChecksum("Bad Checksum for the serial number");
    }
  }
}

// The three serial-number kinds are answered alike.
void reportSerialNumberError(const std::string& uid, CBKReply* reply, exception_with_string* e,
                             const std::string& sn) {
  std::string text = "Serial Number Error: " + e->getErrorMessage() + " [ " + sn + " ]";
  reply->setData(text);
  reply->setStatus(
      bkBuildStatus(BK_FAIL, BK_MSG_CLASS_PROCESS_CONTROL, BK_MSG_ERROR_INVALID_SERIAL_NUMBER));
  logLine(uid, text);
  delete e;
}

}  // namespace

namespace identity {

bool ValidateSerialNumberChecksum(const std::string& serialNumber) {
  // I and O are left out: they read too much like 1 and 0.
  static const char digits[] = "0123456789ABCDEFGHJKLMNPQRSTUVWXYZ";
  const int modulus = 34;
  const char* text = serialNumber.c_str();
  size_t length = strlen(text);
  int sum = 0;
  for (size_t i = 0; i < length; ++i) {
    // strlen stops at the first NUL, so c is never the alphabet's terminator.
    const char* found = strchr(digits, text[length - 1 - i]);
    if (found == nullptr) return false;
    int value = static_cast<int>(found - digits);
    sum += (i % 2 == 1) ? 3 * value : value;
  }
  return sum % modulus == 0;
}

bool validateSerialNumber(const std::string& UID, CBKReply* reply,
                          const std::string& serialNumber) {
  const std::string& sn = serialNumber;
  bool invalid = true;
  try {
    size_t length = sn.length();
    if (length == 11) {
      BK_LOG(UID, "FG serial number: [" << sn << "]");
      checkOldFamily(sn);
    } else if (length == 13) {
      BK_LOG(UID, "MLB serial number: [" << sn << "]");
      checkOldFamily(sn);
    } else if (length == 12) {
      BK_LOG(UID, "New 12 digit FG serial number: [" << sn << "]");
      checkNewFamily(UID, sn);
    } else if (length == 16) {
      BK_LOG(UID, "New 16 digit FG serial number without Checksum: [" << sn << "]");
      checkNewFamily(UID, sn);
    } else if (length == 17) {
      BK_LOG(UID, "SubAssembly 17 digit serial number with Checksum: [" << sn << "]");
      checkNewFamily(UID, sn);
    } else if (length > 18) {
      // No upper bound, whatever the texts say: the servers take any length.
      BK_LOG(UID, "(probably) a FULL serial number with MPN and RGN (len <= 19): [" << sn << "]");
      checkOldFamily(sn);
    } else {
      throw new BK_SNException_badLength(
          "Serial number is not 11, 12, 13, 16, 17 or 20 digits long (FG, MLB, FULL)");
    }
    invalid = false;
    reply->setStatus(bkBuildStatus(BK_PASS, 0, 0));
  } catch (BK_SNException_badLength* e) {
    reportSerialNumberError(UID, reply, e, sn);
  } catch (BK_SNException_badFormat* e) {
    reportSerialNumberError(UID, reply, e, sn);
  } catch (BK_SNException_badChecksum* e) {
    reportSerialNumberError(UID, reply, e, sn);
  } catch (exception_with_string* e) {
    std::string text = "Serial Number Error: " + e->getErrorMessage() + " [ " + sn + " ]";
    BK_LOG(UID, text);
    reply->setData(e->getErrorMessage());
    reply->setStatus(bkBuildStatus(BK_FAIL, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_API_UNHANDLED));
    delete e;
  } catch (...) {
    std::string text = std::string(__FUNCTION__) + ": Unhandled exception";
    BK_LOG(UID, text);
    reply->setData(text);
    reply->setStatus(bkBuildStatus(BK_FAIL, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_API_UNHANDLED));
    BK_LOG_ERROR(text);
  }

  return !invalid;
}

// The policy entry read as a boolean: an integer other than 0 is ACTIVE, and
// so is an entry that is no integer.  A missing entry means PASSIVE.
bool serialNumberPolicyActive() {
  return FailPolicy::activeWhenNonZero("BK_MSG_ERROR_INVALID_SERIAL_NUMBER");
}

}  // namespace identity
