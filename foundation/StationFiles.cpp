#include "foundation/StationFiles.h"

#include <iostream>
#include <stdexcept>

#include "foundation/FileBasics.h"
#include "foundation/Log.h"
#include "foundation/Mutexes.h"

CBKConfigFile::CBKConfigFile(const std::string& filePath)
    : path(filePath), values(nullptr), loaded(false) {}

CBKConfigFile::~CBKConfigFile() { delete values; }

int CBKConfigFile::refresh() {
  MutexGuard guard(&mutex_lock_configfile);
  loaded = true;
  BK_LOG(kBlankUID, "refreshing config file at \"" << path << "\"");
  if (!Util_fileExists(path.c_str())) return 0;
  delete values;
  values = new std::map<std::string, std::string>();
  std::ifstream in(path.c_str());
  std::string line;
  while (std::getline(in, line)) {
    if (line.empty() || line[0] == '#') continue;
    size_t colon = line.find(':');
    if (colon == std::string::npos) continue;
    // emplace keeps the first value of a repeated key.
    values->emplace(line.substr(0, colon), line.substr(colon + 1));
  }
  return 1;
}

std::string CBKConfigFile::getValueFor(const std::string& key) {
  MutexGuard guard(&mutex_lock_configfile);
  if (values == nullptr) return "";
  auto found = values->find(key);
  return found == values->end() ? "" : found->second;
}

CBKJsonStationFile::CBKJsonStationFile(const std::string& filePath, const Texts& texts)
    : CBKConfigFile(filePath), texts_(texts), modificationTime(0) {
  try {
    modificationTime = Util_fileModificationTime(filePath.c_str());
  } catch (const std::exception& e) {
    std::cout << texts_.className << "caught filesystem exception: " << e.what() << std::endl;
  }
}

void CBKJsonStationFile::refresh() {
  MutexGuard guard(&mutex_lock_configfile);
  if (!Util_fileExists(path.c_str())) {
    BK_LOG(kBlankUID, texts_.missing);
    return;
  }
  BK_LOG(kBlankUID, texts_.refreshing << path << "\"");
  // The station-management agent may write the file with any line ends; they
  // are dropped before parsing.
  std::ifstream in(path.c_str());
  std::string joined;
  std::string line;
  while (std::getline(in, line)) joined += line;
  Json::Reader reader;
  if (reader.parse(joined, root, true)) {
    loaded = true;
    modificationTime = Util_fileModificationTime(path.c_str());
  } else {
    std::cout << texts_.parseFailed << reader.getFormattedErrorMessages();
  }
}

Json::Value CBKJsonStationFile::getValueFor(const std::string& section, const std::string& key) {
  MutexGuard guard(&mutex_lock_configfile);
  const Json::Value notFound("NOTFOUND");
  if (section.empty()) return root.isObject() || root.isNull() ? root.get(key, notFound) : notFound;
  if (!root.isObject() && !root.isNull()) return notFound;
  Json::Value& sectionValue = root[section];
  if (!sectionValue.isObject() && !sectionValue.isNull()) return notFound;
  return sectionValue.get(key, notFound);
}

time_t CBKJsonStationFile::getModificationTime() {
  MutexGuard guard(&mutex_lock_configfile);
  return modificationTime;
}

bool CBKJsonStationFile::isLoaded() {
  MutexGuard guard(&mutex_lock_configfile);
  return loaded;
}

CBKKSInfo::CBKKSInfo(const std::string& filePath)
    : CBKJsonStationFile(filePath,
                         {"CBKKSInfo", "ks_station_info.json file does not exist",
                          "Refreshing ksinfo.json file at \"", "Failed to parse ksinfo.json\n"}) {}

CBKKSInfo* CBKKSInfo::init(const std::string& filePath) {
  static CBKKSInfo instance(filePath);
  return &instance;
}

CBKSHCheck::CBKSHCheck(const std::string& filePath)
    : CBKJsonStationFile(filePath, {"CBKSHCheck", "Station_Health_Check.json file does not exist",
                                    "Refreshing Station_Health_Check.json file at \"",
                                    "Failed to parse Station_Health_Check.json\n"}) {}

CBKSHCheck* CBKSHCheck::init(const std::string& filePath) {
  static CBKSHCheck instance(filePath);
  return &instance;
}

CBKKSInfo* getKSInfo() { return CBKKSInfo::init(std::string(vaultStationConfigPath) + ksinfo); }

CBKSHCheck* getSHCheck() { return CBKSHCheck::init(stationHealthCheckFilePath); }
