// In-memory views of the two station files, which other agents keep up to
// date: the signed station info file and the health file.  Both are read only.
#ifndef BRAMBLEKIT_FOUNDATION_STATIONFILES_H_
#define BRAMBLEKIT_FOUNDATION_STATIONFILES_H_

#include <json/json.h>
#include <time.h>

#include <atomic>
#include <map>
#include <string>

// The JSON views: a missing key (or section) reads as the string "NOTFOUND".
class CBKJsonStationFile {
 public:
  virtual ~CBKJsonStationFile() = default;
  CBKJsonStationFile(const CBKJsonStationFile&) = delete;
  CBKJsonStationFile& operator=(const CBKJsonStationFile&) = delete;

  struct Texts {
    const char* className;
    const char* missing;
    const char* refreshing;
    const char* parseFailed;
  };

  // Re-reads the file.  A vanished file keeps the last good contents; a file
  // that fails to parse leaves what the parser had built.  The file is read
  // strictly (foundation/StrictJson.h): of a key given twice only the first
  // counts, and nothing behind a comment is read, so that the settings are
  // the objects a signature over the raw text covers.
  void refresh();
  Json::Value getValueFor(const std::string& section, const std::string& key);
  // False, with `out` untouched, when the key (or section) is absent.
  bool findValueFor(const std::string& section, const std::string& key, Json::Value& out);
  // The value as text, as Json::Value::asString gives it (a number becomes
  // its digits, a missing key "NOTFOUND").  An array or an object, which has
  // no such text, gives the empty text.
  std::string getTextFor(const std::string& section, const std::string& key);
  // The whole text that the values in use were parsed from.
  std::string getText();
  // Changes whenever refresh has parsed the file again: a value read while
  // this stayed the same is still the file's value.  Read it before the value.
  // Starts at 1, so a reader may keep 0 for "not read yet".
  unsigned generation() const { return generation_.load(std::memory_order_acquire); }

 protected:
  CBKJsonStationFile(const std::string& path, const Texts& texts);

 private:
  std::string path;
  Texts texts_;
  Json::Value root;
  std::string text_;
  std::atomic<unsigned> generation_{1};
};

class CBKKSInfo : public CBKJsonStationFile {
 public:
  static CBKKSInfo* init(const std::string& path);

 private:
  explicit CBKKSInfo(const std::string& path);
};

class CBKSHCheck : public CBKJsonStationFile {
 public:
  static CBKSHCheck* init(const std::string& path);

 private:
  explicit CBKSHCheck(const std::string& path);
};

// A "lifeline" entry of the station info file, as the fail policy reads it.
struct LifelineEntry {
  bool present = false;   // the key is there
  bool integer = false;   // and its value is an integer
  Json::Int64 value = 0;  // that integer
  // Present but no integer: a policy that cannot be read never softens a
  // fault, so it counts as ACTIVE.
  bool unreadable() const { return present && !integer; }
  bool is(Json::Int64 wanted) const { return integer && value == wanted; }
  // 1, or unreadable.
  bool active() const { return is(1) || unreadable(); }
};
LifelineEntry readLifelineEntry(const std::string& name);

// A setting read as a number the way Json::Value::asInt/asInt64 read it
// (integers, reals in range, booleans, null), without their exceptions:
// false for a missing key, a text, or a value out of range.
bool readStationInt(const Json::Value& value, int& out);
bool readStationInt64(const Json::Value& value, Json::Int64& out);

// The process-wide views.  The station info file is refreshed only when a
// session starts, so every session works with the settings of its start.
CBKKSInfo* getKSInfo();
CBKSHCheck* getSHCheck();

#endif  // BRAMBLEKIT_FOUNDATION_STATIONFILES_H_
