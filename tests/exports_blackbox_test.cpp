// The library's boundary as a station's loader sees it: every entry point is
// exported from libbramblekit.so under the name stations bind to (the bare C
// name, or the C++ name with its parameter types), and internals are not.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "interface/Bramblekit.h"

namespace {

// Every blank-separated word of `names`.
std::vector<std::string> split(const char* names) {
  std::istringstream in(names);
  return {std::istream_iterator<std::string>(in), std::istream_iterator<std::string>()};
}

// Each list is one text of names separated by blanks.
const char* const kCNames =
    "BK_getVersion BK_success BK_reply_getClass BK_reply_isOfClass BK_reply_getMessageID "
    "BK_reply_getError BK_reply_getJsonData BK_reply_destroy BK_reply_getStatus BK_reply_getText "
    "BK_UUTStart BK_UUTCancel "
    "BK_UID_destroy BK_addAttribute BK_addResult BK_UUTCommit BK_UUTDone BK_setDUTPos "
    "BK_setDUTPosition BK_testSpec_create BK_testResult_create BK_testSpec_destroy "
    "BK_testResult_destroy BK_testSpec_setTestName BK_testSpec_setSubTestName "
    "BK_testSpec_setSubSubTestName BK_testSpec_setUnits BK_testSpec_setLimits "
    "BK_testSpec_setPriority BK_testSpec_setAsNonTestItem BK_testResult_setResult "
    "BK_testResult_setValue BK_testResult_setMessage BK_addBlob BK_addBlobWithPolicy "
    "BK_addBlobData BK_addBlobDataWithPolicy BK_validateSerialNumber BK_amIOkay "
    "BK_getKSStationInfo BK_setStartTime BK_setStopTime BK_getJsonResultsObj "
    "BK_isSFCQueryUnitOK BK_isUnitOutOfProcess ";

// Stations link these by their full C++ signatures (Itanium ABI names).
const char* const kCxxNames =
    "_Z14BK_buildStatus17BK_PASSFAILRESULTjj _Z16BK_isFailPassivejj "
    "_Z21BK_isLifelineClassOFFjj _Z23BK_isLifelineMessageOFFjj "
    "_Z19BK_addModuleHistoryPvPKcS1_S1_S1_S1_S1_ _Z27BK_sendStationFailureReportPvPKcS1_ "
    "_Z14BK_isStationOKPc _Z10BK_isUUTOKPv _Z15BK_isEtherNetOKPvS_ _Z14BK_isNetWorkOKPvS_ "
    "_Z14BK_isKestrelOKPvS_ _Z18BK_isMartenRunningPvS_ _Z23BK_isStationSWVersionOKPvS_ "
    "_Z20BK_isMartenVersionOKPvS_ _Z19BK_isOtterVersionOKPvS_ "
    "_Z21BK_checkMartenVersionPNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEES5_S5_ "
    "_Z16BK_isSignatureOKPv _Z13BK_isSigExpOKPv _Z19BK_isSFCQueryUnitOKPvS_PKc "
    "_Z21BK_isUnitOutOfProcessPvS_PKc _Z21CreateStationInfoFilev "
    "_Z23CreateStationHealthFilev ";

// Internals that must stay hidden, in both spellings a build could give them.
const char* const kInternalNames =
    "Util_fileCopy _Z13Util_fileCopyPKcS0_b Util_filecompress "
    "_Z17Util_filecompressRKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEES6_ "
    "getKSInfo _Z9getKSInfov _ZN4CUUT6createEv ";

TEST(Exports, EveryEntryPointUnderItsLinkageAndNoInternals) {
  // The library this program was linked against, opened again by its own
  // path so that look-ups see only its exports.
  Dl_info info{};
  ASSERT_NE(dladdr(reinterpret_cast<void*>(&BK_getVersion), &info), 0);
  ASSERT_NE(std::string(info.dli_fname).find("libbramblekit.so"), std::string::npos)
      << info.dli_fname;
  void* library = dlopen(info.dli_fname, RTLD_NOW | RTLD_NOLOAD);
  ASSERT_NE(library, nullptr) << dlerror();
  const std::vector<std::string> cNames = split(kCNames);
  for (const std::string& name : cNames) {
    EXPECT_NE(dlsym(library, name.c_str()), nullptr) << "not exported: " << name;
  }
  for (const std::string& name : split(kCxxNames)) {
    EXPECT_NE(dlsym(library, name.c_str()), nullptr) << "not exported: " << name;
    // Stations bind the mangled name; the plain name is no export of its own,
    // except for the two unit checks, which C stations bind too.
    const std::string plain =
        name.substr(name.find_first_not_of("_Z0123456789")).substr(0, std::stoul(name.substr(2)));
    if (std::find(cNames.begin(), cNames.end(), plain) != cNames.end()) continue;
    EXPECT_EQ(dlsym(library, plain.c_str()), nullptr) << name;
  }
  for (const std::string& name : split(kInternalNames)) {
    EXPECT_EQ(dlsym(library, name.c_str()), nullptr) << "exported: " << name;
  }
  dlclose(library);
}

}  // namespace
