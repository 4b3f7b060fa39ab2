// In-memory views of the two station files, which other agents keep up to
// date: the signed station info file and the health file.  Both are read only.
#ifndef BRAMBLEKIT_FOUNDATION_STATIONFILES_H_
#define BRAMBLEKIT_FOUNDATION_STATIONFILES_H_

#include <json/json.h>
#include <time.h>

#include <map>
#include <string>

// A file of "key:value" text lines.  The two JSON views derive from it.
class CBKConfigFile {
 public:
  explicit CBKConfigFile(const std::string& path);
  virtual ~CBKConfigFile();
  CBKConfigFile(const CBKConfigFile&) = delete;
  CBKConfigFile& operator=(const CBKConfigFile&) = delete;

  // 1 when the file was read, 0 when it does not exist.
  int refresh();
  // The text for key; empty when absent.
  std::string getValueFor(const std::string& key);

 protected:
  std::string path;
  std::map<std::string, std::string>* values;
  bool loaded;
};

// The JSON views: a missing key (or section) reads as the string "NOTFOUND".
class CBKJsonStationFile : public CBKConfigFile {
 public:
  using CBKConfigFile::getValueFor;
  struct Texts {
    const char* className;
    const char* missing;
    const char* refreshing;
    const char* parseFailed;
  };

  // Re-reads the file.  A vanished file keeps the last good contents; a file
  // that fails to parse leaves what the parser had built.
  void refresh();
  Json::Value getValueFor(const std::string& section, const std::string& key);
  time_t getModificationTime();
  bool isLoaded();

 protected:
  CBKJsonStationFile(const std::string& path, const Texts& texts);

 private:
  Texts texts_;
  time_t modificationTime;
  Json::Value root;
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

// The process-wide views.  The station info file is refreshed only when a
// session starts, so every session works with the settings of its start.
CBKKSInfo* getKSInfo();
CBKSHCheck* getSHCheck();

#endif  // BRAMBLEKIT_FOUNDATION_STATIONFILES_H_
