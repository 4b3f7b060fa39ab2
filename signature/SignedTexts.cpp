#include "signature/SignedTexts.h"

#include <string.h>

#include <stdexcept>

#include "signature/RawTextCutters.h"

std::vector<std::string> stationInfoSignedKeys(const std::string& version) {
  if (version == "1") return {"ksinfo", "lifeline", "controlbits"};
  if (version == "2") return {"kestrel_day"};
  return {};
}

std::string stationInfoSignedText(const std::string& fileText, const std::string& version,
                                  std::vector<std::string>* missing) {
  std::string signedText;
  for (const std::string& key : stationInfoSignedKeys(version)) {
    std::string piece;
    if (GetUnsortedObjFromJsonString(fileText, piece, key)) {
      signedText += piece;
    } else if (missing != nullptr) {
      missing->push_back(key);
    }
  }
  return signedText;
}

namespace {

// The first occurrence of "key", quoted.  memmem, not std::string::find: the
// latter stops at every quotation mark of a file that is full of them.
std::size_t findQuoted(const std::string& text, const std::string& key) {
  const std::string needle = "\"" + key + "\"";
  const void* at = memmem(text.data(), text.size(), needle.data(), needle.size());
  return at == nullptr ? std::string::npos
                       : static_cast<std::size_t>(static_cast<const char*>(at) - text.data());
}

// Where the quoted key first occurs.  The search result was once held in 32
// bits and tested against 0 only, so position 0 reads as "not found" and a
// truly absent key fails when the text is cut there: both behaviours are what
// the committing code is built around.
bool findKey(const std::string& text, const char* key, std::size_t& position) {
  position = findQuoted(text, key);
  if (position == std::string::npos) {
    throw std::out_of_range(std::string("results file has no key \"") + key + "\"");
  }
  return position != 0;
}

// The next quoted string after the first colon behind the key.
bool valueOf(const std::string& text, const char* key, std::string& value) {
  std::size_t position = 0;
  if (!findKey(text, key, position)) return false;
  value.clear();
  GetStringFromObj(text.substr(position), value, ':');
  return !value.empty();
}

}  // namespace

bool resultsOtterText(const std::string& fileText, std::string& out) {
  out.clear();
  std::size_t position = 0;
  if (!findKey(fileText, "results", position)) return false;
  // Runs to the last "]" of the file, past the results array: the servers
  // verify this wider span.
  GetStringFromObj(fileText.substr(position), out, '[');
  return !out.empty();
}

bool resultsOcelotFields(const std::string& fileText,
                         std::vector<std::pair<std::string, std::string>>& fields,
                         bool* usedSubStation) {
  fields.clear();
  std::string value;
  for (const char* key : {"unit_serial_number", "mac_addr", "uut_start", "test_result"}) {
    if (!valueOf(fileText, key, value)) return false;
    fields.emplace_back(key, value);
  }
  const std::size_t subStationAt = findQuoted(fileText, "sub_station_id");
  const bool subStation = subStationAt != std::string::npos;
  if (usedSubStation != nullptr) *usedSubStation = subStation;
  if (subStation) {
    // Tested in full width, so position 0 counts as found here.
    std::string subStationId;
    GetStringFromObj(fileText.substr(subStationAt), subStationId, ':');
    if (subStationId.empty() || !valueOf(fileText, "station_id", value)) return false;
    fields.emplace_back("sub_station_id", subStationId);
    fields.emplace_back("station_id", value);
    return true;
  }
  for (const char* key : {"station_name", "station_id"}) {
    if (!valueOf(fileText, key, value)) return false;
    fields.emplace_back(key, value);
  }
  return true;
}

bool resultsOcelotText(const std::string& fileText, std::string& out, bool* usedSubStation) {
  out.clear();
  std::vector<std::pair<std::string, std::string>> fields;
  if (!resultsOcelotFields(fileText, fields, usedSubStation)) return false;
  for (const auto& field : fields) out += field.second;
  return true;
}

std::string withoutSignatureMembers(const std::string& otterSpan, const std::string& otterSignature,
                                    const std::string& ocelotSignature) {
  std::string text = otterSpan;
  const std::pair<const char*, const std::string*> members[] = {
      {kOcelotSignatureKey, &ocelotSignature}, {kOtterSignatureKey, &otterSignature}};
  for (const auto& [key, value] : members) {
    const std::string member = std::string("\"") + key + "\" : \"" + *value + "\"";
    const std::size_t at = text.find(member);
    if (at == std::string::npos) continue;
    const std::size_t lineStart = text.rfind('\n', at);
    const std::size_t begin = lineStart == std::string::npos ? 0 : lineStart + 1;
    const std::size_t lineEnd = text.find('\n', at);
    const std::size_t end = lineEnd == std::string::npos ? text.size() : lineEnd + 1;
    text.erase(begin, end - begin);
  }
  return text;
}
