#include "data/ResultsDocument.h"

#include <fstream>
#include <string>

#include "data/ValueValidators.h"
#include "foundation/Constants.h"
#include "foundation/Log.h"

void Util_renderResultsJson(std::ostream& out, const Json::Value& document) { out << document; }

namespace {

void logLine(const std::string& text) { BK_LOG(kBlankUID, text); }

// Logs the failing step, then the document itself so that the log shows what
// was wrong with it.
void logWithDocument(const std::string& text, const Json::Value& root) {
  logLine(text);
  BK_LOG(kBlankUID, root);
}

// A missing member reads as an empty string.
std::string textOf(const Json::Value& object, const char* key) {
  return object.get(key, "").asString();
}

}  // namespace

bool Util_verify_results_json(const char* path) {
  if (path == nullptr) {
    logLine("invalid path or file name or file does not exist to verify results json file");
    return false;
  }

  Json::Value root;
  {
    // Opened for writing too: a file the session could not rewrite is as bad
    // as one it cannot read.
    std::fstream file(path, std::ios::in | std::ios::out);
    Json::Reader reader;
    if (!file.is_open() || !reader.parse(file, root, true)) {
      logLine("Could not parse results json file, see Bramblekit.log for error");
      return false;
    }
  }

  if (root.size() < 3) {
    logLine(
        "Total objects in the results json file are less than 3, see Bramblekit.log for error ");
    return false;
  }

  const Json::Value& results = root["results"];
  logLine("Total test results objs found [" + std::to_string(results.size()) + "]");
  if (results.size() < 1) {
    logWithDocument("Total test results are less than 1, see Bramblekit.log for errors", root);
    return false;
  }

  const Json::Value& session = root["test_attributes"];
  if (session.size() < 5) {
    logWithDocument("Total test_attributes are less than 5, see Bramblekit.log for error", root);
    return false;
  }

  const Json::Value& station = root["test_station_attributes"];
  if (station.size() < 5) {
    logWithDocument("Total test_station_attributes are less than 5, see Bramblekit.log for error",
                    root);
    return false;
  }

  std::string start = textOf(session, "uut_start");
  if (!validateDateTimeStampVal(start)) {
    logLine("uut_start time is NOT valid [" + start + "]");
    return false;
  }
  std::string stop = textOf(session, "uut_stop");
  if (!validateDateTimeStampVal(stop)) {
    logLine("uut_stop time is NOT valid[" + stop + "]");
    return false;
  }
  std::string stationID = textOf(station, "station_id");
  if (!validateStationIDVal(stationID)) {
    logLine("station_id time is NOT valid [" + stationID + "]");
    return false;
  }

  // The signature version is named in the line but not tested: signing
  // replaces it anyway.
  for (const char* key : {"test_result", "unit_serial_number"}) {
    std::string value = textOf(session, key);
    if (value.empty()) {
      logLine(
          "signature_version or test_result or unit_serial_number time is NOT valid or empty [" +
          value + "]");
      return false;
    }
  }
  for (const char* key : {"bk_version", "limits_version", "software_name", "software_version"}) {
    std::string value = textOf(station, key);
    if (value.empty()) {
      logLine(
          "bk_version or limits_version or software_name or software_version is NOT valid or "
          "empty [" +
          value + "]");
      return false;
    }
  }
  return true;
}
