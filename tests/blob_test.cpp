// The blob store: staged and final names, compression, the size limit, the
// records in "blobs" and the retention policies.
#include <ctype.h>
#include <dirent.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <zlib.h>

#include <string>
#include <vector>

#include "data/BlobCompression.h"
#include "interface/Bramblekit.h"
#include "session/UUT.h"
#include "support/TestSupport.h"

namespace {

const unsigned kFailApiSyntax = 0x80100004u;
const unsigned kFailFilesystem = 0x80100007u;
const char* const kSerial = "C02XK0ABCDEF";

// A time stamp as the library writes it: 8 digits, "-", 6 digits, ".", 6 digits.
bool isStamp(const std::string& text) {
  if (text.size() != 22 || text[8] != '-' || text[15] != '.') return false;
  for (size_t i = 0; i < text.size(); ++i) {
    if (i != 8 && i != 15 && !isdigit(static_cast<unsigned char>(text[i]))) return false;
  }
  return true;
}

bool endsWith(const std::string& text, const std::string& end) {
  return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

std::vector<std::string> listDirectory(const std::string& path) {
  std::vector<std::string> names;
  DIR* dir = opendir(path.c_str());
  if (dir == nullptr) return names;
  while (dirent* entry = readdir(dir)) {
    std::string name = entry->d_name;
    if (name != "." && name != "..") names.push_back(name);
  }
  closedir(dir);
  return names;
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
  // A session that holds the unit's serial number.  Blobs do not care whether
  // the number passed validation, only that it is there.
  void start(const Json::Value& info = bk_test::sampleStationInfo(), bool withSerial = true) {
    bk_test::writeStationFiles(info);
    BKReplyHandle reply = BK_UUTStart(&handle);
    ASSERT_TRUE(BK_success(reply));
    BK_reply_destroy(reply);
    uut = static_cast<CUUT*>(handle);
    if (withSerial) {
      BK_reply_destroy(BK_addAttribute(handle, "serialnumber", kSerial));
      ASSERT_EQ(uut->getSN(), kSerial);
    }
  }
  void TearDown() override {
    if (handle != nullptr) BK_UID_destroy(handle);
  }
  std::string blobDir() { return uut->getPath() + "blobs/"; }
  const Json::Value& blobs() { return uut->getRootJson()["blobs"]; }

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
  bk_test::writeFile("/tmp/trace.txt", content);
  ASSERT_TRUE(run(BK_addBlob(handle, "run:1/trace", "/tmp/trace.txt"))) << text;
  EXPECT_EQ(status, 0u);

  std::vector<std::string> files = listDirectory(blobDir());
  ASSERT_EQ(files.size(), 1u);  // the staged copy is gone
  const std::string name = files[0];
  const std::string serial = std::string(kSerial) + "_";
  ASSERT_EQ(name.compare(0, serial.size(), serial), 0) << name;
  EXPECT_TRUE(isStamp(name.substr(serial.size(), 22))) << name;
  EXPECT_EQ(name.substr(serial.size() + 22), "_P42_FUNCTIONAL-TEST_run_1_trace.txt.gz");
  EXPECT_EQ(gunzip(blobDir() + name), content);
  EXPECT_TRUE(bk_test::fileExists("/tmp/trace.txt"));

  ASSERT_EQ(blobs().size(), 1u);
  const Json::Value& record = blobs()[0];
  EXPECT_EQ(record["file_name"], name);
  ASSERT_TRUE(record["file_size"].isString());
  EXPECT_EQ(record["file_size"].asString(),
            std::to_string(bk_test::readFile(blobDir() + name).size()));
  EXPECT_EQ(record["display_name"], "run:1/trace");
  EXPECT_TRUE(record["retention_policy"].isUInt());
  EXPECT_EQ(record["retention_policy"].asUInt(), 30u);
  EXPECT_EQ(record.size(), 4u);
}

TEST_F(BlobStore, CompressedExtensionsAreMovedAndOthersCompressed) {
  start();
  const std::string content = sampleBytes(1000);
  for (const char* extension : {".zip", ".gz", ".bz2", ".ZIP", ".GZ", ".BZ2", ".tgz", ".TGZ"}) {
    const std::string source = std::string("/tmp/a") + extension;
    bk_test::writeFile(source, content);
    ASSERT_TRUE(run(BK_addBlob(handle, "a", source.c_str()))) << text;
    const Json::Value& record = blobs()[blobs().size() - 1];
    const std::string name = record["file_name"].asString();
    EXPECT_EQ(name.substr(name.size() - strlen(extension) - 2), std::string("_a") + extension);
    EXPECT_EQ(bk_test::readFile(blobDir() + name), content) << extension;
    EXPECT_EQ(record["file_size"], "1000");
  }
  for (const char* extension : {".Gz", ".Zip", ".tar", ""}) {
    const std::string source = std::string("/tmp/b") + extension;
    bk_test::writeFile(source, content);
    ASSERT_TRUE(run(BK_addBlob(handle, "b", source.c_str()))) << text;
    const std::string name = blobs()[blobs().size() - 1]["file_name"].asString();
    EXPECT_EQ(name.substr(name.size() - strlen(extension) - 5),
              std::string("_b") + extension + ".gz");
    EXPECT_EQ(gunzip(blobDir() + name), content) << extension;
  }
  EXPECT_EQ(listDirectory(blobDir()).size(), 12u);
}

TEST_F(BlobStore, MemoryBlockHasNoExtension) {
  start();
  const std::string content = sampleBytes(20000);
  ASSERT_TRUE(run(BK_addBlobData(handle, "dump|1", content.data(), content.size()))) << text;
  const std::string name = blobs()[0]["file_name"].asString();
  EXPECT_TRUE(endsWith(name, "_FUNCTIONAL-TEST_dump_1.gz")) << name;
  EXPECT_EQ(gunzip(blobDir() + name), content);
  EXPECT_EQ(blobs()[0]["display_name"], "dump|1");
  EXPECT_EQ(bk_test::countLines(bk_test::readLog(), "Exitiing BK_addBlobData"), 1u);
}

TEST_F(BlobStore, NeedsTheSerialNumberAndKeepsTheStagedCopy) {
  start(bk_test::sampleStationInfo(), false);
  bk_test::writeFile("/tmp/x.log", "abc");
  EXPECT_FALSE(run(BK_addBlob(handle, "x", "/tmp/x.log")));
  EXPECT_EQ(text, "Attribtue 'serialnumber' is not populated yet.");
  EXPECT_EQ(status, kFailApiSyntax);
  EXPECT_EQ(listDirectory(blobDir()), std::vector<std::string>{"x.log"});
  EXPECT_TRUE(blobs().empty());
}

TEST_F(BlobStore, MissingSourceAndUnwritableTarget) {
  start();
  EXPECT_FALSE(run(BK_addBlob(handle, "x", "/tmp/absent.log")));
  EXPECT_EQ(text,
            "either the blob file or the referenced directory doesn't exist: /tmp/absent.log");
  EXPECT_EQ(status, kFailFilesystem);

  // A directory where the memory blob's file should go: reported, not thrown.
  mkdir(blobDir().c_str(), 0755);
  mkdir((blobDir() + "taken").c_str(), 0755);
  EXPECT_FALSE(run(BK_addBlobData(handle, "taken", "abc", 3)));
  EXPECT_EQ(text, "copyFromMemory: Could not open blob file '" + blobDir() + "taken'");
  EXPECT_EQ(status, kFailFilesystem);

  EXPECT_FALSE(run(BK_addBlobData(handle, "negative", "abc", -5)));
  EXPECT_EQ(text, "copyFromMemory: bytes written (0) does not equal lengthOfBlob (-5)");
  EXPECT_TRUE(blobs().empty());
}

TEST_F(BlobStore, SizeLimitIsInclusiveAndCountsTheCompressedSize) {
  // The compressed size of this content, measured once without a limit.
  const std::string content = sampleBytes(50000);
  bk_test::writeFile("/tmp/c.bin", content);
  start();
  ASSERT_TRUE(run(BK_addBlob(handle, "c", "/tmp/c.bin")));
  const long compressed = std::stol(blobs()[0]["file_size"].asString());
  ASSERT_LT(compressed, 50000);
  BK_UID_destroy(handle);
  handle = nullptr;

  Json::Value info = bk_test::sampleStationInfo();
  info["ksinfo"]["MAX_BLOB_SIZE_ALLOWED_IN_BYTES"] = static_cast<Json::Int>(compressed);
  start(info);
  EXPECT_TRUE(run(BK_addBlob(handle, "c", "/tmp/c.bin"))) << text;
  BK_UID_destroy(handle);
  handle = nullptr;

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
  EXPECT_EQ(listDirectory(blobDir()).size(), 2u);  // staged and compressed both stay
  EXPECT_TRUE(blobs().empty());
}

TEST_F(BlobStore, SizeLimitOfAnAlreadyCompressedFile) {
  bk_test::writeFile("/tmp/d.zip", std::string(100, 'z'));
  Json::Value info = bk_test::sampleStationInfo();
  info["ksinfo"]["MAX_BLOB_SIZE_ALLOWED_IN_BYTES"] = 99;
  start(info);
  EXPECT_FALSE(run(BK_addBlob(handle, "d", "/tmp/d.zip")));
  EXPECT_EQ(text, "BlobFile" + blobDir() + "d.zip] File size [100] exceeded blob size limit[99]");
  BK_UID_destroy(handle);
  handle = nullptr;

  // 1, a text, or nothing at all: the limit is 1 GiB.
  for (Json::Value limit : {Json::Value(1), Json::Value("99"), Json::Value(Json::nullValue)}) {
    info["ksinfo"]["MAX_BLOB_SIZE_ALLOWED_IN_BYTES"] = limit;
    if (limit.isNull()) info["ksinfo"].removeMember("MAX_BLOB_SIZE_ALLOWED_IN_BYTES");
    start(info);
    EXPECT_TRUE(run(BK_addBlob(handle, "d", "/tmp/d.zip"))) << text;
    BK_UID_destroy(handle);
    handle = nullptr;
  }
}

TEST_F(BlobStore, PoliciesMapToDaysAndStick) {
  start();
  bk_test::writeFile("/tmp/p.txt", "p");
  const unsigned expected[] = {0, 30, 60, 90, 180, 270, 360};
  for (int policy = 1; policy <= 7; ++policy) {
    ASSERT_TRUE(
        run(BK_addBlobWithPolicy(handle, static_cast<BK_BKBLOBPOLICY>(policy), "p", "/tmp/p.txt")))
        << text;
    EXPECT_EQ(blobs()[policy - 1]["retention_policy"].asUInt(), expected[policy - 1]);
  }
  for (int policy : {0, 8}) {
    EXPECT_FALSE(
        run(BK_addBlobWithPolicy(handle, static_cast<BK_BKBLOBPOLICY>(policy), "p", "/tmp/p.txt")));
    EXPECT_EQ(text, "Invalid BK_BKBLOBPOLICY enum value passed, blob not copied ");
    EXPECT_EQ(status, kFailApiSyntax);
    EXPECT_FALSE(
        run(BK_addBlobDataWithPolicy(handle, static_cast<BK_BKBLOBPOLICY>(policy), "m", "m", 1)));
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

  const std::string log = bk_test::readLog();
  EXPECT_GE(bk_test::countLines(log, "p : 1 blob added"), 7u);
  EXPECT_EQ(bk_test::countLines(log, "p : 0 blob failed"), 1u);
  EXPECT_EQ(bk_test::countLines(log, "m : 1 blob data added"), 1u);
}

TEST_F(BlobStore, FeatureOffReportsSuccessAndStoresNothing) {
  Json::Value info = bk_test::sampleStationInfo();
  info["ksinfo"]["BLOBS_TO_SEND_TO_TRAX_ON_OFF"] = "OFF";
  start(info);
  bk_test::writeFile("/tmp/f.txt", "f");
  const std::string off =
      "Not sending blob to TRAX, [BLOBS_TO_SEND_TO_TRAX_ON_OFF] feature is OFF in "
      "ks_station_info.json file.";
  EXPECT_TRUE(run(BK_addBlob(handle, "f", "/tmp/f.txt")));
  EXPECT_EQ(text, off);
  EXPECT_TRUE(run(BK_addBlobWithPolicy(handle, BK_BLOB_KEEP_60, "f", "/tmp/f.txt")));
  EXPECT_TRUE(run(BK_addBlobData(handle, "f", "f", 1)));
  EXPECT_TRUE(run(BK_addBlobDataWithPolicy(handle, BK_BLOB_KEEP_60, "f", "f", 1)));
  EXPECT_EQ(text, off);
  EXPECT_TRUE(blobs().empty());
  EXPECT_FALSE(bk_test::fileExists(blobDir()));
}

TEST_F(BlobStore, StationTextComesFromTheStationType) {
  Json::Value info = bk_test::sampleStationInfo();
  info["ksinfo"].removeMember("STATION_TYPE");
  info["ksinfo"].removeMember("PRODUCT");
  start(info);
  bk_test::writeFile("/tmp/s.txt", "s");
  ASSERT_TRUE(run(BK_addBlob(handle, "s", "/tmp/s.txt")));
  EXPECT_TRUE(endsWith(blobs()[0]["file_name"].asString(), "_NOTFOUND_NOTFOUND_s.txt.gz"));
  BK_UID_destroy(handle);
  handle = nullptr;

  info["ksinfo"]["STATION_TYPE"] = "";
  start(info);
  EXPECT_FALSE(run(BK_addBlob(handle, "s", "/tmp/s.txt")));
  EXPECT_EQ(text,
            "Can not get the  'STATION_IDENTIFIER' value from the ks_station_info.json file.");
}

TEST_F(BlobStore, NullArgumentsAreNamed) {
  start();
  struct Case {
    BKReplyHandle reply;
    const char* expected;
  };
  const Case cases[] = {
      {BK_addBlob(nullptr, "n", "p"), "NULL inHandle handle passed as a parameter"},
      {BK_addBlob(handle, nullptr, "p"), "NULL inBlobName handle passed as a parameter"},
      {BK_addBlob(handle, "n", nullptr), "NULL inPathToBlobFile handle passed as a parameter"},
      {BK_addBlobData(handle, nullptr, "d", 1), "NULL inBlobName handle passed as a parameter"},
      {BK_addBlobData(handle, "n", nullptr, 1), "NULL inBlobPointer handle passed as a parameter"},
      {BK_addBlobWithPolicy(nullptr, BK_BLOB_KEEP_0, "n", "p"),
       "NULL inHandle handle passed as a parameter"},
      {BK_addBlobWithPolicy(handle, BK_BLOB_KEEP_0, nullptr, "p"),
       "NULL kcpBlobName handle passed as a parameter"},
      {BK_addBlobWithPolicy(handle, BK_BLOB_KEEP_0, "n", nullptr),
       "NULL kcpPathToBlobFile handle passed as a parameter"},
      {BK_addBlobDataWithPolicy(handle, BK_BLOB_KEEP_0, nullptr, "d", 1),
       "NULL kcpBlobName handle passed as a parameter"},
      {BK_addBlobDataWithPolicy(handle, BK_BLOB_KEEP_0, "n", nullptr, 1),
       "NULL kpBlobPointer handle passed as a parameter"},
  };
  for (const Case& c : cases) {
    EXPECT_FALSE(run(c.reply));
    EXPECT_EQ(text, c.expected);
    EXPECT_EQ(status, kFailApiSyntax);
  }
  EXPECT_EQ(uut->retentionPolicy, 30u);  // no refused call touched it
}

TEST(BlobCompression, RoundTripsAcrossChunkEdgesWithAFlushPerChunk) {
  for (size_t size : {0u, 8191u, 8192u, 8193u, 5u * 8192u}) {
    const std::string content = sampleBytes(size);
    bk_test::writeFile("/tmp/in.bin", content);
    ASSERT_TRUE(Util_filecompress("/tmp/in.bin", "/tmp/out"));
    EXPECT_EQ(gunzip("/tmp/out.gz"), content) << size;
    // Each sync flush ends in an empty stored block: 00 00 ff ff.
    const std::string packed = bk_test::readFile("/tmp/out.gz");
    size_t markers = 0;
    for (size_t at = packed.find(std::string("\0\0\xff\xff", 4)); at != std::string::npos;
         at = packed.find(std::string("\0\0\xff\xff", 4), at + 1)) {
      ++markers;
    }
    EXPECT_GE(markers, (size + 8191) / 8192) << size;
  }
}

TEST(BlobCompression, FailsCleanlyOnBadPaths) {
  EXPECT_FALSE(Util_filecompress("/tmp/absent.bin", "/tmp/out"));
  EXPECT_FALSE(bk_test::fileExists("/tmp/out.gz"));
  bk_test::writeFile("/tmp/in.bin", "x");
  EXPECT_FALSE(Util_filecompress("/tmp/in.bin", "/tmp/no/such/dir/out"));
  const std::string log = bk_test::readLog();
  EXPECT_EQ(bk_test::countLines(log, "Could not open file '/tmp/absent.bin' ."), 1u);
  EXPECT_EQ(bk_test::countLines(log, "Could not open file '/tmp/no/such/dir/out' ."), 1u);
}

}  // namespace
