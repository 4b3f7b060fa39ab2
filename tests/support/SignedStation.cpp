#include "support/SignedStation.h"

#include <spawn.h>
#include <sys/wait.h>

#include <stdexcept>
#include <vector>

#include "DevelopmentKeys.h"

extern char** environ;

namespace bk_test {

bool hasDevelopmentStationKey() { return !developmentStationKey().empty(); }

std::string developmentStationKey() { return BK_DEV_STATION_PRIVATE_KEY; }

int runStationInfoSigner(const std::string& keyPath, const std::string& path,
                         const std::string& version) {
  std::vector<std::string> arguments = {BK_SIGN_STATION_INFO_TOOL, keyPath, path};
  if (!version.empty()) arguments.push_back(version);
  std::vector<char*> argv;
  for (std::string& argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);
  pid_t child = 0;
  if (posix_spawn(&child, argv[0], nullptr, nullptr, argv.data(), environ) != 0) return -1;
  int status = 0;
  if (waitpid(child, &status, 0) != child) return -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

void signStationInfoFile(const std::string& path, const std::string& version) {
  if (!hasDevelopmentStationKey()) {
    throw std::runtime_error("this build embeds a deployment station key: cannot sign");
  }
  const int status = runStationInfoSigner(developmentStationKey(), path, version);
  if (status != 0) {
    throw std::runtime_error("signing " + path + " failed with status " + std::to_string(status));
  }
}

void writeSignedStationFiles(const Json::Value& info, const Json::Value& health,
                             const std::string& version) {
  Json::Value signedInfo = info;
  signedInfo["ksinfo"]["SIGNATURE_VERSION"] = version;
  if (version == "2" && !signedInfo.isMember("kestrel_day")) {
    signedInfo["kestrel_day"]["event_timestamp"] = 1;
  }
  writeStationFiles(signedInfo, health);
  signStationInfoFile(kStationInfoPath, version);
}

}  // namespace bk_test
