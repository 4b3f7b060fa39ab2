#include "foundation/StationFeatures.h"

#include "foundation/StationFiles.h"

bool Util_featureON(const std::string& name) {
  Json::Value value = getKSInfo()->getValueFor("ksinfo", name);
  return value.isString() && value.asString() == "ON";
}

bool Util_featureOFF(const std::string& name) {
  Json::Value value = getKSInfo()->getValueFor("ksinfo", name);
  if (!value.isString()) return true;
  return value.asString() == "OFF";
}
