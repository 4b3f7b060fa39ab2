// The library's boundary as a station's loader sees it: every entry point is
// exported from libbramblekit.so under the name stations bind to (the bare C
// name, or the C++ name with its parameter types), and internals are not.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "interface/Bramblekit.h"

namespace {

const char* const kCNames[] = {
    "BK_getVersion",
    "BK_success",
    "BK_reply_getClass",
    "BK_reply_isOfClass",
    "BK_reply_getMessageID",
    "BK_reply_getError",
    "BK_reply_getJsonData",
    "BK_reply_destroy",
    "BK_UUTStart",
    "BK_UUTCancel",
    "BK_UID_destroy",
    "BK_addAttribute",
    "BK_addResult",
    "BK_UUTCommit",
    "BK_UUTDone",
    "BK_setDUTPos",
    "BK_setDUTPosition",
    "BK_testSpec_create",
    "BK_testResult_create",
    "BK_testSpec_destroy",
    "BK_testResult_destroy",
    "BK_testSpec_setTestName",
    "BK_testSpec_setSubTestName",
    "BK_testSpec_setSubSubTestName",
    "BK_testSpec_setUnits",
    "BK_testSpec_setLimits",
    "BK_testSpec_setPriority",
    "BK_testSpec_setAsNonTestItem",
    "BK_testResult_setResult",
    "BK_testResult_setValue",
    "BK_testResult_setMessage",
    "BK_addBlob",
    "BK_addBlobWithPolicy",
    "BK_addBlobData",
    "BK_addBlobDataWithPolicy",
    "BK_validateSerialNumber",
    "BK_amIOkay",
    "BK_getKSStationInfo",
    "BK_setStartTime",
    "BK_setStopTime",
    "BK_getJsonResultsObj",
};

struct CxxName {
  const char* plain;
  const char* mangled;
};

// Stations link these by their full C++ signatures (Itanium ABI names).
const CxxName kCxxNames[] = {
    {"BK_buildStatus", "_Z14BK_buildStatus17BK_PASSFAILRESULTjj"},
    {"BK_isFailPassive", "_Z16BK_isFailPassivejj"},
    {"BK_isLifelineClassOFF", "_Z21BK_isLifelineClassOFFjj"},
    {"BK_isLifelineMessageOFF", "_Z23BK_isLifelineMessageOFFjj"},
    {"BK_addModuleHistory", "_Z19BK_addModuleHistoryPvPKcS1_S1_S1_S1_S1_"},
    {"BK_sendStationFailureReport", "_Z27BK_sendStationFailureReportPvPKcS1_"},
    {"BK_isStationOK", "_Z14BK_isStationOKPc"},
    {"BK_isUUTOK", "_Z10BK_isUUTOKPv"},
    {"BK_isEtherNetOK", "_Z15BK_isEtherNetOKPvS_"},
    {"BK_isNetWorkOK", "_Z14BK_isNetWorkOKPvS_"},
    {"BK_isKestrelOK", "_Z14BK_isKestrelOKPvS_"},
    {"BK_isMartenRunning", "_Z18BK_isMartenRunningPvS_"},
    {"BK_isStationSWVersionOK", "_Z23BK_isStationSWVersionOKPvS_"},
    {"BK_isMartenVersionOK", "_Z20BK_isMartenVersionOKPvS_"},
    {"BK_isOtterVersionOK", "_Z19BK_isOtterVersionOKPvS_"},
    {"BK_checkMartenVersion",
     "_Z21BK_checkMartenVersionPNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEES5_S5_"},
    {"BK_isSignatureOK", "_Z16BK_isSignatureOKPv"},
    {"BK_isSigExpOK", "_Z13BK_isSigExpOKPv"},
    {"BK_isSFCQueryUnitOK", "_Z19BK_isSFCQueryUnitOKPvS_PKc"},
    {"BK_isUnitOutOfProcess", "_Z21BK_isUnitOutOfProcessPvS_PKc"},
    {"CreateStationInfoFile", "_Z21CreateStationInfoFilev"},
    {"CreateStationHealthFile", "_Z23CreateStationHealthFilev"},
};

// Internals that must stay hidden, in both spellings a build could give them.
const char* const kInternalNames[] = {
    "Util_fileCopy",
    "_Z13Util_fileCopyPKcS0_b",
    "Util_filecompress",
    "_Z17Util_filecompressRKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEES6_",
    "getKSInfo",
    "_Z9getKSInfov",
    "_ZN4CUUT6createEv",
};

// The library this program was linked against, opened again by its own path
// so that look-ups see only its exports.
void* openLinkedLibrary() {
  Dl_info info{};
  if (dladdr(reinterpret_cast<void*>(&BK_getVersion), &info) == 0 || info.dli_fname == nullptr) {
    return nullptr;
  }
  return dlopen(info.dli_fname, RTLD_NOW | RTLD_NOLOAD);
}

std::string join(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += " " + name;
  return text;
}

TEST(Exports, TheLinkedLibraryIsTheSharedOne) {
  Dl_info info{};
  ASSERT_NE(dladdr(reinterpret_cast<void*>(&BK_getVersion), &info), 0);
  EXPECT_NE(std::string(info.dli_fname).find("libbramblekit.so"), std::string::npos)
      << info.dli_fname;
}

TEST(Exports, EveryCEntryPointUnderItsBareName) {
  void* library = openLinkedLibrary();
  ASSERT_NE(library, nullptr) << dlerror();
  std::vector<std::string> missing;
  for (const char* name : kCNames) {
    if (dlsym(library, name) == nullptr) missing.push_back(name);
  }
  EXPECT_TRUE(missing.empty()) << "not exported:" << join(missing);
  dlclose(library);
}

TEST(Exports, EveryCxxEntryPointWithItsParameterTypes) {
  void* library = openLinkedLibrary();
  ASSERT_NE(library, nullptr) << dlerror();
  std::vector<std::string> missing;
  std::vector<std::string> bare;
  for (const CxxName& name : kCxxNames) {
    if (dlsym(library, name.mangled) == nullptr) missing.push_back(name.plain);
    if (dlsym(library, name.plain) != nullptr) bare.push_back(name.plain);
  }
  EXPECT_TRUE(missing.empty()) << "not exported:" << join(missing);
  EXPECT_TRUE(bare.empty()) << "exported with C linkage:" << join(bare);
  dlclose(library);
}

TEST(Exports, InternalsStayHidden) {
  void* library = openLinkedLibrary();
  ASSERT_NE(library, nullptr) << dlerror();
  std::vector<std::string> visible;
  for (const char* name : kInternalNames) {
    if (dlsym(library, name) != nullptr) visible.push_back(name);
  }
  EXPECT_TRUE(visible.empty()) << "exported:" << join(visible);
  dlclose(library);
}

}  // namespace
