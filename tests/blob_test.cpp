// The blob store: staged and final names, compression, the size limit, the
// records in "blobs" and the retention policies.
#include <gtest/gtest.h>
#include <string.h>
#include <sys/stat.h>
#include <zlib.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <string>

#include "interface/Bramblekit.h"
#include "session/UUT.h"
#include "support/TestSupport.h"

using namespace bk_test;

namespace {

const unsigned kFailApiSyntax = 0x80100004u;
const unsigned kFailFilesystem = 0x80100007u;
const char* const kSerial = "C02XK0ABCDEF";

bool endsWith(const std::string& text, const std::string& end) {
  return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

std::string gunzip(const std::string& path) {
  gzFile in = gzopen(path.c_str(), "rb");
  if (in == nullptr) return "<unreadable>";
  std::string text;
  char buffer[4096];
  int got;
  while ((got = gzread(in, buffer, sizeof(buffer))) > 0) text.append(buffer, got);
  gzclose(in);
  return text;
}

// Mixed bytes, zeros included, so nothing is lost to text handling.
std::string sampleBytes(size_t size) {
  std::string bytes(size, '\0');
  for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>((i * 7919) % 251);
  return bytes;
}

class BlobStore : public ::testing::Test {
 protected:
  // A (new) session that holds the unit's serial number.  Blobs do not care
  // whether the number passed validation, only that it is there.
  void start(const Json::Value& info = sampleStationInfo(), bool withSerial = true) {
    TearDown();
    writeStationFiles(info);
    ASSERT_TRUE(run(BK_UUTStart(&handle)));
    uut = static_cast<CUUT*>(handle);
    if (withSerial) BK_reply_destroy(BK_addAttribute(handle, "serialnumber", kSerial));
  }
  void TearDown() override {
    if (handle != nullptr) BK_UID_destroy(handle);
    handle = nullptr;
  }
  std::string blobDir() { return uut->getPath() + "blobs/"; }
  size_t filesInBlobDir() {
    std::error_code error;
    auto files = std::filesystem::directory_iterator(blobDir(), error);
    return error ? 0 : std::distance(begin(files), end(files));
  }
  const Json::Value& blobs() { return uut->getRootJson()["blobs"]; }
  std::string lastName() { return blobs()[blobs().size() - 1]["file_name"].asString(); }

  // Runs one call and keeps its outcome.
  bool run(BKReplyHandle reply) {
    text = BK_reply_getError(reply);
    status = static_cast<CBKReply*>(reply)->getStatus();
    bool ok = BK_success(reply);
    BK_reply_destroy(reply);
    return ok;
  }

  UUTHandle handle = nullptr;
  CUUT* uut = nullptr;
  std::string text;
  unsigned status = 0;
};

TEST_F(BlobStore, FileIsCompressedUnderItsFinalNameAndRecorded) {
  start();
  const std::string content = sampleBytes(3 * 8192 + 17);
  writeFile("/tmp/trace.txt", content);
  ASSERT_TRUE(run(BK_addBlob(handle, "run:1/trace", "/tmp/trace.txt"))) << text;
  EXPECT_EQ(status, 0u);

  ASSERT_EQ(filesInBlobDir(), 1u);  // the staged copy is gone
  ASSERT_EQ(blobs().size(), 1u);
  const std::string name = lastName();
  // Serial, a time stamp, product and station type, and the name made safe.
  std::string shape = name;
  std::replace_if(shape.begin() + strlen(kSerial), shape.end(), ::isdigit, '9');
  EXPECT_EQ(shape, std::string(kSerial) +
                       "_99999999-999999.999999_P99_FUNCTIONAL-TEST_run_9_trace.txt.gz");
  EXPECT_EQ(gunzip(blobDir() + name), content);
  EXPECT_TRUE(fileExists("/tmp/trace.txt"));

  Json::Value record(Json::objectValue);
  record["file_name"] = name;
  record["file_size"] = std::to_string(readFile(blobDir() + name).size());
  record["display_name"] = "run:1/trace";
  record["retention_policy"] = 30u;
  EXPECT_EQ(blobs()[0], record) << blobs()[0];
}

TEST_F(BlobStore, CompressedExtensionsAreMovedAndOthersCompressed) {
  start();
  const std::string content = sampleBytes(1000);
  const std::pair<const char*, bool> extensions[] = {
      {".zip", true}, {".gz", true},   {".bz2", true},  {".ZIP", true},
      {".GZ", true},  {".BZ2", true},  {".tgz", true},  {".TGZ", true},
      {".Gz", false}, {".Zip", false}, {".tar", false}, {"", false}};
  for (const auto& [extension, moved] : extensions) {
    const std::string name = moved ? "a" : "b", path = "/tmp/" + name + extension;
    writeFile(path, content);
    ASSERT_TRUE(run(BK_addBlob(handle, name.c_str(), path.c_str()))) << text;
    const std::string stored = blobDir() + lastName();
    EXPECT_TRUE(endsWith(stored, "_" + path.substr(5) + (moved ? "" : ".gz"))) << stored;
    EXPECT_EQ(moved ? readFile(stored) : gunzip(stored), content) << extension;
  }
  // A memory block has no extension of its own.
  ASSERT_TRUE(run(BK_addBlobData(handle, "dump|1", content.data(), content.size()))) << text;
  EXPECT_TRUE(endsWith(lastName(), "_FUNCTIONAL-TEST_dump_1.gz")) << lastName();
  EXPECT_EQ(gunzip(blobDir() + lastName()), content);
  EXPECT_EQ(blobs()[12]["display_name"], "dump|1");
  EXPECT_EQ(filesInBlobDir(), 13u);
  EXPECT_EQ(countLines(readLog(), "Exitiing BK_addBlobData"), 1u);
}

TEST_F(BlobStore, RefusalsLeaveNoFileAndNoRecord) {
  start(sampleStationInfo(), false);
  writeFile("/tmp/x.log", "abc");
  EXPECT_FALSE(run(BK_addBlob(handle, "x", "/tmp/x.log")));
  EXPECT_EQ(text, "Attribtue 'serialnumber' is not populated yet.");
  EXPECT_EQ(status, kFailApiSyntax);
  EXPECT_EQ(filesInBlobDir(), 0u);

  BK_reply_destroy(BK_addAttribute(handle, "serialnumber", kSerial));
  EXPECT_FALSE(run(BK_addBlob(handle, "x", "/tmp/absent.log")));
  EXPECT_EQ(status, kFailFilesystem);
  EXPECT_FALSE(run(BK_addBlobData(handle, "negative", "abc", -5)));
  EXPECT_EQ(text, "copyFromMemory: bytes written (0) does not equal lengthOfBlob (-5)");
  EXPECT_FALSE(run(BK_addBlobDataWithPolicy(handle, BK_BLOB_KEEP_0, "n", nullptr, 1)));
  EXPECT_EQ(text, "NULL kpBlobPointer handle passed as a parameter");
  EXPECT_EQ(uut->retentionPolicy, 30u);  // no refused call touched it

  // A policy that lets file-system errors pass does not turn a blob that was
  // not stored into a success.  A directory where the memory blob's file
  // should go: reported, not thrown.
  Json::Value lenient = sampleStationInfo();
  lenient["lifeline"].removeMember("BK_MSG_ERROR_FILESYSTEM");
  start(lenient);
  mkdir(blobDir().c_str(), 0755);
  mkdir((blobDir() + "taken").c_str(), 0755);
  EXPECT_FALSE(run(BK_addBlobData(handle, "taken", "abc", 3)));
  EXPECT_EQ(status, kFailFilesystem);
  EXPECT_FALSE(run(BK_addBlob(handle, "x", "/tmp/absent.log")));
  EXPECT_EQ(status, kFailFilesystem);
  EXPECT_EQ(filesInBlobDir(), 1u);  // the directory that was in the way
  EXPECT_TRUE(blobs().empty());
}

TEST_F(BlobStore, SizeLimitIsInclusiveAndCountsTheCompressedSize) {
  // The compressed size of this content, measured once without a limit.
  writeFile("/tmp/c.bin", sampleBytes(50000));
  start();
  ASSERT_TRUE(run(BK_addBlob(handle, "c", "/tmp/c.bin")));
  const long compressed = std::stol(blobs()[0]["file_size"].asString());
  ASSERT_LT(compressed, 50000);

  Json::Value info = sampleStationInfo();
  info["ksinfo"]["MAX_BLOB_SIZE_ALLOWED_IN_BYTES"] = static_cast<Json::Int>(compressed);
  start(info);
  EXPECT_TRUE(run(BK_addBlob(handle, "c", "/tmp/c.bin"))) << text;

  info["ksinfo"]["MAX_BLOB_SIZE_ALLOWED_IN_BYTES"] = static_cast<Json::Int>(compressed - 1);
  start(info);
  EXPECT_FALSE(run(BK_addBlob(handle, "c", "/tmp/c.bin")));
  // The number in the first brackets means nothing; only its form is fixed.
  const std::string tail = "] File size [" + std::to_string(compressed) +
                           "] exceeded blob size limit[" + std::to_string(compressed - 1) + "]";
  EXPECT_EQ(text.compare(0, 12, "BlobFile [0x"), 0) << text;
  EXPECT_TRUE(endsWith(text, tail)) << text;
  EXPECT_EQ(text.find_first_not_of("0123456789abcdef", 12), text.size() - tail.size()) << text;
  EXPECT_EQ(status, kFailApiSyntax);
  EXPECT_EQ(filesInBlobDir(), 0u);  // neither the staged copy nor the compressed one stays
  EXPECT_TRUE(blobs().empty());

  // An already compressed file is measured as it is, under another text.
  writeFile("/tmp/d.zip", std::string(100, 'z'));
  info["ksinfo"]["MAX_BLOB_SIZE_ALLOWED_IN_BYTES"] = 99;
  start(info);
  EXPECT_FALSE(run(BK_addBlob(handle, "d", "/tmp/d.zip")));
  EXPECT_EQ(text, "BlobFile" + blobDir() + "d.zip] File size [100] exceeded blob size limit[99]");
  // 1, a text, or nothing at all: the limit is 1 GiB.
  for (Json::Value limit : {Json::Value(1), Json::Value("99"), Json::Value(Json::nullValue)}) {
    info["ksinfo"]["MAX_BLOB_SIZE_ALLOWED_IN_BYTES"] = limit;
    if (limit.isNull()) info["ksinfo"].removeMember("MAX_BLOB_SIZE_ALLOWED_IN_BYTES");
    start(info);
    EXPECT_TRUE(run(BK_addBlob(handle, "d", "/tmp/d.zip"))) << text;
  }
}

TEST_F(BlobStore, PoliciesMapToDaysAndStick) {
  start();
  writeFile("/tmp/p.txt", "p");
  const unsigned expected[] = {0, 30, 60, 90, 180, 270, 360};
  for (int policy = 1; policy <= 7; ++policy) {
    auto keep = static_cast<BK_BKBLOBPOLICY>(policy);
    ASSERT_TRUE(run(BK_addBlobWithPolicy(handle, keep, "p", "/tmp/p.txt"))) << text;
    EXPECT_EQ(blobs()[policy - 1]["retention_policy"].asUInt(), expected[policy - 1]);
  }
  for (int policy : {0, 8}) {
    auto keep = static_cast<BK_BKBLOBPOLICY>(policy);
    EXPECT_FALSE(run(BK_addBlobWithPolicy(handle, keep, "p", "/tmp/p.txt")));
    EXPECT_EQ(text, "Invalid BK_BKBLOBPOLICY enum value passed, blob not copied ");
    EXPECT_EQ(status, kFailApiSyntax);
    EXPECT_FALSE(run(BK_addBlobDataWithPolicy(handle, keep, "m", "m", 1)));
    EXPECT_EQ(text, "Invalid BK_BKBLOBPOLICY enum value passed ");
  }
  EXPECT_FALSE(run(BK_addBlobDataWithPolicy(handle, BK_BLOB_KEEP_90, "m", "m", 0)));
  EXPECT_EQ(text, "Invalid BK_BKBLOBPOLICY enum value passed ");
  EXPECT_EQ(blobs().size(), 7u);

  // A policy whose blob failed still holds for the next plain blob.
  EXPECT_FALSE(run(BK_addBlobWithPolicy(handle, BK_BLOB_KEEP_0, "p", "/tmp/absent")));
  ASSERT_TRUE(run(BK_addBlob(handle, "p", "/tmp/p.txt")));
  EXPECT_EQ(blobs()[7]["retention_policy"].asUInt(), 0u);
  ASSERT_TRUE(run(BK_addBlobDataWithPolicy(handle, BK_BLOB_KEEP_180, "m", "m", 1)));
  ASSERT_TRUE(run(BK_addBlobData(handle, "m", "m", 1)));
  EXPECT_EQ(blobs()[9]["retention_policy"].asUInt(), 180u);
}

TEST_F(BlobStore, StationSettings) {
  // Feature off: every form answers pass with its note and stores nothing.
  Json::Value info = sampleStationInfo();
  info["ksinfo"]["BLOBS_TO_SEND_TO_TRAX_ON_OFF"] = "OFF";
  start(info);
  writeFile("/tmp/s.txt", "s");
  const std::string off =
      "Not sending blob to TRAX, [BLOBS_TO_SEND_TO_TRAX_ON_OFF] feature is OFF in "
      "ks_station_info.json file.";
  EXPECT_TRUE(run(BK_addBlob(handle, "s", "/tmp/s.txt")) && text == off) << text;
  EXPECT_TRUE(run(BK_addBlobDataWithPolicy(handle, BK_BLOB_KEEP_60, "s", "s", 1)) && text == off);
  EXPECT_TRUE(blobs().empty());
  EXPECT_FALSE(fileExists(blobDir()));

  // The station text of a name comes from the station type.
  info = sampleStationInfo();
  info["ksinfo"].removeMember("STATION_TYPE");
  info["ksinfo"].removeMember("PRODUCT");
  start(info);
  ASSERT_TRUE(run(BK_addBlob(handle, "s", "/tmp/s.txt")));
  EXPECT_TRUE(endsWith(lastName(), "_NOTFOUND_NOTFOUND_s.txt.gz")) << lastName();
  info["ksinfo"]["STATION_TYPE"] = "";
  start(info);
  EXPECT_FALSE(run(BK_addBlob(handle, "s", "/tmp/s.txt")));
  EXPECT_EQ(text,
            "Can not get the  'STATION_IDENTIFIER' value from the ks_station_info.json file.");
}

}  // namespace
