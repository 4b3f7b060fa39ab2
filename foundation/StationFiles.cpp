#include "foundation/StationFiles.h"

#include <stdint.h>

#include <algorithm>
#include <iostream>
#include <iterator>
#include <stdexcept>

#include "foundation/FileBasics.h"
#include "foundation/Log.h"
#include "foundation/Mutexes.h"
#include "foundation/StrictJson.h"

CBKJsonStationFile::CBKJsonStationFile(const std::string& filePath, const Texts& texts)
    : path(filePath), texts_(texts) {}

void CBKJsonStationFile::refresh() {
  MutexGuard guard(&mutex_lock_configfile);
  if (!Util_fileExists(path.c_str())) {
    BK_LOG(kBlankUID, texts_.missing);
    return;
  }
  BK_LOG(kBlankUID, texts_.refreshing << path << "\"");
  // The station-management agent may write the file with any line ends; they
  // are dropped before parsing.
  std::ifstream in(path.c_str(), std::ios::in | std::ios::binary);
  text_.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  std::string joined = text_;
  joined.erase(std::remove(joined.begin(), joined.end(), '\n'), joined.end());
  StrictJsonProblem problem;
  if (!parseStrictJson(joined, root, problem)) {
    std::cout << texts_.parseFailed << problem.describe() << std::endl;
  }
  generation_.fetch_add(1, std::memory_order_release);
}

bool CBKJsonStationFile::findValueFor(const std::string& section, const std::string& key,
                                      Json::Value& out) {
  MutexGuard guard(&mutex_lock_configfile);
  // A file that is being rewritten may parse to anything ("[]", a number):
  // only objects have members.
  if (!root.isObject() && !root.isNull()) return false;
  const Json::Value* owner = &root;
  if (!section.empty()) {
    // The missing section is added as a null member, which changes no answer:
    // getText() readers compare the file's text, not this tree.
    owner = &root[section];
    if (!owner->isObject()) return false;
  }
  const Json::Value* found =
      owner->isObject() ? owner->find(key.data(), key.data() + key.size()) : nullptr;
  if (found == nullptr) return false;
  out = *found;
  return true;
}

Json::Value CBKJsonStationFile::getValueFor(const std::string& section, const std::string& key) {
  Json::Value value("NOTFOUND");
  findValueFor(section, key, value);
  return value;
}

std::string CBKJsonStationFile::getTextFor(const std::string& section, const std::string& key) {
  const Json::Value value = getValueFor(section, key);
  return value.isConvertibleTo(Json::stringValue) ? value.asString() : std::string();
}

std::string CBKJsonStationFile::getText() {
  MutexGuard guard(&mutex_lock_configfile);
  return text_;
}

CBKKSInfo::CBKKSInfo(const std::string& filePath)
    : CBKJsonStationFile(filePath,
                         {"CBKKSInfo", "ks_station_info.json file does not exist",
                          "Refreshing ksinfo.json file at \"", "Failed to parse ksinfo.json\n"}) {}

CBKKSInfo* CBKKSInfo::init(const std::string& filePath) {
  // Never destroyed: an SFC thread may still read the file while the
  // process exits.
  static CBKKSInfo* instance = new CBKKSInfo(filePath);
  return instance;
}

CBKSHCheck::CBKSHCheck(const std::string& filePath)
    : CBKJsonStationFile(filePath, {"CBKSHCheck", "Station_Health_Check.json file does not exist",
                                    "Refreshing Station_Health_Check.json file at \"",
                                    "Failed to parse Station_Health_Check.json\n"}) {}

CBKSHCheck* CBKSHCheck::init(const std::string& filePath) {
  // Never destroyed: an SFC thread may still read the file while the
  // process exits.
  static CBKSHCheck* instance = new CBKSHCheck(filePath);
  return instance;
}

LifelineEntry readLifelineEntry(const std::string& name) {
  LifelineEntry entry;
  Json::Value value;
  if (!getKSInfo()->findValueFor("lifeline", name, value)) return entry;
  entry.present = true;
  entry.integer = value.isIntegral();
  // An integer beyond 64 bits is some integer other than 0 and 1.
  if (entry.integer) entry.value = value.isInt64() ? value.asInt64() : INT64_MAX;
  return entry;
}

bool readStationInt(const Json::Value& value, int& out) {
  if (!value.isConvertibleTo(Json::intValue)) return false;
  out = value.asInt();
  return true;
}

bool readStationInt64(const Json::Value& value, Json::Int64& out) {
  if (value.isInt64() || value.isBool() || value.isNull()) {
    out = value.asInt64();
    return true;
  }
  // Reals convert when in range, as asInt64 converts them.
  if (value.isDouble() && value.asDouble() >= -9.2e18 && value.asDouble() <= 9.2e18) {
    out = value.asInt64();
    return true;
  }
  return false;
}

// The objects are made by the first call; later calls skip building the path.
CBKKSInfo* getKSInfo() {
  static CBKKSInfo* const info = CBKKSInfo::init(std::string(vaultStationConfigPath) + ksinfo);
  return info;
}

CBKSHCheck* getSHCheck() {
  static CBKSHCheck* const health = CBKSHCheck::init(stationHealthCheckFilePath);
  return health;
}
