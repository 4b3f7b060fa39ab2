// bramblekit-report, run as a program on sessions that the library committed
// in the sandbox: what the pages say, how they treat hostile and broken
// input, and how they look in a real browser.
#include <gtest/gtest.h>
#include <string.h>
#include <sys/wait.h>
#include <time.h>
#include <zlib.h>

#include <cstdlib>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "DevelopmentKeys.h"
#include "interface/Bramblekit.h"
#include "support/SignedStation.h"

using namespace bk_test;
namespace fs = std::filesystem;

namespace {

const std::string kData = "/vault/data_collection";
const std::string kOut = "/tmp/report";

void ok(BKReplyHandle reply) {
  EXPECT_TRUE(BK_success(reply)) << BK_reply_getError(reply);
  BK_reply_destroy(reply);
}

void addResult(UUTHandle unit, const char* name, const char* value, const char* lower,
               const char* upper, BK_PASSFAILRESULT verdict) {
  testSpecHandle spec = BK_testSpec_create();
  testResultHandle result = BK_testResult_create();
  BK_testSpec_setTestName(spec, name, strlen(name));
  BK_testSpec_setSubTestName(spec, "rail", 4);
  BK_testSpec_setUnits(spec, "V", 1);
  BK_testSpec_setLimits(spec, lower, strlen(lower), upper, strlen(upper));
  if (value != nullptr) BK_testResult_setValue(result, value, strlen(value));
  if (verdict == BK_FAIL) BK_testResult_setMessage(result, "too hot", 7);
  BK_testResult_setResult(result, verdict);
  ok(BK_addResult(unit, spec, result));
  BK_testSpec_destroy(spec);
  BK_testResult_destroy(result);
}

// Commits one unit and gives its directory.  The failing unit carries every
// kind of content a page shows.
std::string commitUnit(const char* serial, bool failing) {
  std::set<fs::path> before;
  for (const auto& entry : fs::directory_iterator(kData + "/uut_data")) before.insert(entry.path());
  UUTHandle unit = nullptr;
  ok(BK_UUTStart(&unit));
  // Starts a minute and half a minute ago: the vault orders by start time,
  // which two sessions within one second would share.
  ok(BK_setStartTime(unit, time(nullptr) - (failing ? 60 : 30)));
  ok(BK_addAttribute(unit, "serialnumber", serial));
  ok(BK_addAttribute(unit, "softwarename", "report-station"));
  ok(BK_addAttribute(unit, "softwareversion", "3.2"));
  ok(BK_addAttribute(unit, "limitsversion", "L-9"));
  addResult(unit, "voltage", "3.31", "1", "5", BK_PASS);
  if (failing) {
    ok(BK_addAttribute(unit, "operator", "<b>Ann & \"Bo\"</b>"));
    addResult(unit, "current", "4.9", "1", "5", BK_PASS);     // marginal
    addResult(unit, "leakage", "0.2", "NA", "0.5", BK_PASS);  // upper limit only
    addResult(unit, "temperature", "120", "0", "100", BK_FAIL);
    addResult(unit, "<script>alert(1)</script>", nullptr, "NA", "NA", BK_PASS);
    addResult(unit, "camera", "NA", "NA", "NA", BK_NA);
    ok(BK_addBlobData(unit, "trace <1>.txt", "trace\n", 6));
    ok(BK_setDUTPosition(unit, 3, 2));
    ok(BK_addModuleHistory(unit, "MOD1", "VEND", "2026W47", "PN-7", "camera module", "LOT5"));
  }
  ok(BK_UUTDone(unit));
  ok(BK_UUTCommit(unit, failing ? BK_FAIL : BK_PASS));
  BK_UID_destroy(unit);
  for (const auto& entry : fs::directory_iterator(kData + "/uut_data")) {
    if (!before.count(entry.path())) return entry.path().string();
  }
  ADD_FAILURE() << "no session committed";
  return "";
}

int run(const std::string& command) {
  int status = std::system(command.c_str());
  return status != -1 && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// Runs the tool with `arguments`; gives its exit status.
int report(const std::string& arguments) {
  return run(std::string("'") + BK_REPORT_TOOL + "' " + arguments + " >/dev/null 2>&1");
}

std::string keyArgument() {
  return std::string("--public-key '") + BK_DEV_RESULTS_PUBLIC_KEY + "'";
}

class ReportTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    Json::Value info = sampleStationInfo();
    info["ksinfo"]["SIGNATURE_EXPIRATION"] = static_cast<Json::Int64>(time(nullptr) + 3600);
    writeSignedStationFiles(info, sampleHealth());
    fs::create_directories(kData + "/uut_data");
    failing_ = commitUnit("C0212FAIL01", true);
    passing_ = commitUnit("C0212PASS01", false);
    fs::create_directories(kOut);
  }
  // A copy of the failing session to spoil.
  static std::string copyOfFailing(const std::string& name) {
    const std::string copy = kOut + "/" + name;
    fs::remove_all(copy);
    fs::copy(failing_, copy, fs::copy_options::recursive);
    return copy;
  }
  static std::string failing_;
  static std::string passing_;
};
std::string ReportTest::failing_;
std::string ReportTest::passing_;

bool contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

TEST_F(ReportTest, KnownSessionShowsVerdictCountsValuesLimitsAndSignatures) {
  const std::string page = kOut + "/failing.html";
  ASSERT_EQ(report("'" + failing_ + "' -o " + page + " " + keyArgument()), 0);
  const std::string html = readFile(page);
  EXPECT_TRUE(contains(html, "class=\"verdict verdict-fail\">FAIL<"));
  // pass, fail, NA, info only, parametric, pass/fail only.
  EXPECT_TRUE(contains(html,
                       "<td class=\"num\">4</td><td class=\"num\">1</td><td class=\"num\">1</td>"
                       "<td class=\"num\">0</td><td class=\"num\">5</td><td class=\"num\">1</td>"));
  EXPECT_TRUE(contains(html, "<span id=\"signature\" class=\"sig-ok\">both verified"));
  // Value and limits of the failure, and its place out of the band.
  EXPECT_TRUE(contains(html,
                       "<tr class=\"outside\"><td>temperature rail</td><td class=\"num\">120</td>"
                       "<td class=\"num\">0</td><td class=\"num\">100</td>"));
  EXPECT_TRUE(
      contains(html, "<tr class=\"marginal\"><td>current rail</td><td class=\"num\">4.9</td>"));
  EXPECT_TRUE(contains(html, "<tr><td>voltage rail</td><td class=\"num\">3.31</td>"));
  EXPECT_TRUE(contains(html, "<use href=\"#bu\"/>")) << "the one-sided limit of leakage";
  EXPECT_TRUE(contains(html, "<th>fixture_id</th><td>3</td>"));
  EXPECT_TRUE(contains(html, "<th>description</th><td>camera module</td>"));
  // The blob's link reaches its file from where the page lies.
  const size_t link = html.find("<a href=\"", html.find("<h2>Blobs</h2>"));
  ASSERT_NE(link, std::string::npos);
  const size_t end = html.find('"', link + 9);
  std::string target;
  for (size_t at = link + 9; at < end; ++at) {
    target += html[at] != '%' ? html[at]
                              : static_cast<char>(std::stoi(html.substr(at + 1, 2), nullptr, 16));
    if (html[at] == '%') at += 2;
  }
  EXPECT_TRUE(fs::is_regular_file(kOut + "/" + target)) << target;
}

TEST_F(ReportTest, EveryDocumentTextIsEscaped) {
  const std::string page = kOut + "/escaped.html";
  ASSERT_EQ(report("'" + failing_ + "' -o " + page), 0);
  const std::string html = readFile(page);
  EXPECT_TRUE(contains(html, "&lt;script&gt;alert(1)&lt;/script&gt;"));
  EXPECT_TRUE(contains(html, "&lt;b&gt;Ann &amp; &quot;Bo&quot;&lt;/b&gt;"));
  EXPECT_TRUE(contains(html, "trace &lt;1&gt;.txt"));
  EXPECT_FALSE(contains(html, "<script")) << "no script element at all";
  EXPECT_FALSE(contains(html, "<b>"));
}

TEST_F(ReportTest, SignatureStates) {
  const std::string tampered = copyOfFailing("tampered.commit");
  const std::string results = tampered + "/results.Json";
  std::string text = readFile(results);
  text.replace(text.find("\"3.31\""), 6, "\"3.32\"");
  writeFile(results, text);
  struct Case {
    std::string session, arguments, expected;
  } cases[] = {
      {tampered, keyArgument(), "class=\"sig-bad\">FAILED: otter_signature"},
      {failing_, "", "class=\"sig-none\">not checked"},
  };
  for (const Case& c : cases) {
    const std::string page = kOut + "/signature.html";
    ASSERT_EQ(report("'" + c.session + "' -o " + page + " " + c.arguments), 0);
    EXPECT_TRUE(contains(readFile(page), c.expected)) << c.expected;
  }
  // A decoy member before the real one: shown, but no signature passes it.
  const std::string decoy = copyOfFailing("decoy.commit");
  text = readFile(decoy + "/results.Json");
  writeFile(decoy + "/results.Json", "{\"test_attributes\": {}," + text.substr(1));
  const std::string page = kOut + "/decoy.html";
  EXPECT_EQ(report("'" + decoy + "' -o " + page + " " + keyArgument()), 1);
  EXPECT_TRUE(contains(readFile(page), "class=\"sig-bad\">FAILED: not strict JSON"));
}

TEST_F(ReportTest, BrokenInputGivesAPageThatSaysWhy) {
  const std::string notJson = copyOfFailing("not-json.commit");
  writeFile(notJson + "/results.Json", "{\"results\": [1, ");
  const std::string noMembers = copyOfFailing("no-members.commit");
  writeFile(noMembers + "/results.Json", "{\"results\": 5, \"test_attributes\": []}");
  const std::string noBlob = copyOfFailing("no-blob.commit");
  fs::remove_all(noBlob + "/blobs");
  struct Case {
    std::string session, expected;
  } cases[] = {
      {notJson, "is not JSON"},
      {noMembers, "no test_attributes object"},
      {noMembers, "no results array"},
      {noBlob, "blob file missing: blobs/C0212FAIL01_"},
      {kOut + "/nowhere", "no such session directory"},
  };
  for (const Case& c : cases) {
    const std::string page = kOut + "/broken.html";
    fs::remove(page);
    EXPECT_EQ(report("'" + c.session + "' -o " + page), 1) << c.session;
    const std::string html = readFile(page);
    EXPECT_TRUE(contains(html, "<div class=\"problems\"")) << c.session;
    EXPECT_TRUE(contains(html, c.expected)) << c.expected;
  }
  // A page that cannot be written leaves nothing behind.
  fs::create_directories(kOut + "/locked");
  fs::create_directories(kOut + "/locked/page.html");  // a directory in the way
  EXPECT_EQ(report("'" + failing_ + "' -o " + kOut + "/locked/page.html"), 2);
  size_t left = 0;
  for (const auto& entry : fs::directory_iterator(kOut + "/locked"))
    left += entry.path() != kOut + "/locked/page.html";
  EXPECT_EQ(left, 0u);
}

TEST_F(ReportTest, VaultPageListsSessionsByTimeWithTheirOwnPages) {
  fs::create_directories(kData + "/corrupt_uut_data");
  writeFile(kData + "/corrupt_uut_data/20200101-000000.000001-BAD", "{ not json");
  const std::string dir = kOut + "/vault";
  fs::create_directories(dir);
  ASSERT_EQ(report("--vault " + kData + " -o " + dir + "/index.html " + keyArgument()), 0);
  const std::string html = readFile(dir + "/index.html");
  // The corrupt file's name dates it first; the two units follow in order.
  const size_t corrupt = html.find("corrupt-20200101-000000.000001-BAD.html");
  const size_t first = html.find("C0212FAIL01");
  const size_t second = html.find("C0212PASS01");
  ASSERT_NE(corrupt, std::string::npos);
  ASSERT_NE(second, std::string::npos);
  EXPECT_LT(corrupt, first);
  EXPECT_LT(first, second);
  EXPECT_TRUE(contains(html, "<td class=\"sig-ok\">verified</td>"));
  EXPECT_TRUE(contains(html, "First-pass yield per station"));
  EXPECT_TRUE(contains(html, ">50% (1/2)</text>"));
  EXPECT_TRUE(contains(html, ">temperature rail</text>"));
  for (const std::string& session : {failing_, passing_}) {
    const std::string own = dir + "/" + fs::path(session).filename().string() + ".html";
    EXPECT_TRUE(contains(readFile(own), "href=\"./index.html\"")) << own;
  }
  EXPECT_TRUE(contains(readFile(dir + "/corrupt-20200101-000000.000001-BAD.html"), "is not JSON"));
}

// ---- The pages in a real browser. -------------------------------------------

// True when the PNG at `path` holds more than one colour.  Handles what
// Chromium writes: 8-bit RGB or RGBA, not interlaced.
bool pngHasSeveralColours(const std::string& path, std::string& why) {
  const std::string png = readFile(path);
  auto be32 = [&](size_t at) {
    return static_cast<uint32_t>(
        static_cast<unsigned char>(png[at]) << 24 | static_cast<unsigned char>(png[at + 1]) << 16 |
        static_cast<unsigned char>(png[at + 2]) << 8 | static_cast<unsigned char>(png[at + 3]));
  };
  if (png.size() < 33 || png.compare(1, 3, "PNG") != 0) return why = "not a PNG", false;
  const uint32_t width = be32(16);
  const uint32_t height = be32(20);
  const int depth = png[24];
  const int type = png[25];
  if (depth != 8 || (type != 2 && type != 6) || png[28] != 0)
    return why = "unexpected PNG form", false;
  const size_t channels = type == 6 ? 4 : 3;
  std::string compressed;
  for (size_t at = 8; at + 8 <= png.size();) {
    const uint32_t length = be32(at);
    if (png.compare(at + 4, 4, "IDAT") == 0) compressed += png.substr(at + 8, length);
    at += 12 + length;
  }
  const size_t stride = width * channels;
  std::vector<unsigned char> raw((stride + 1) * height);
  uLongf rawSize = raw.size();
  if (uncompress(raw.data(), &rawSize, reinterpret_cast<const Bytef*>(compressed.data()),
                 compressed.size()) != Z_OK ||
      rawSize != raw.size()) {
    return why = "cannot inflate the image", false;
  }
  std::vector<unsigned char> previous(stride, 0);
  std::vector<unsigned char> line(stride);
  std::string firstPixel;
  for (uint32_t y = 0; y < height; ++y) {
    const unsigned char* in = &raw[y * (stride + 1)];
    for (size_t x = 0; x < stride; ++x) {
      const int a = x >= channels ? line[x - channels] : 0;
      const int b = previous[x];
      const int c = x >= channels ? previous[x - channels] : 0;
      int predictor = 0;
      switch (in[0]) {
        case 1:
          predictor = a;
          break;
        case 2:
          predictor = b;
          break;
        case 3:
          predictor = (a + b) / 2;
          break;
        case 4: {
          const int p = a + b - c;
          const int pa = std::abs(p - a), pb = std::abs(p - b), pc = std::abs(p - c);
          predictor = pa <= pb && pa <= pc ? a : pb <= pc ? b : c;
          break;
        }
      }
      line[x] = static_cast<unsigned char>(in[1 + x] + predictor);
    }
    for (size_t x = 0; x < stride; x += channels) {
      const std::string pixel(reinterpret_cast<const char*>(&line[x]), channels);
      if (firstPixel.empty()) firstPixel = pixel;
      if (pixel != firstPixel) return true;
    }
    previous = line;
  }
  why = "the screenshot is one colour";
  return false;
}

TEST_F(ReportTest, PagesRenderInChromiumWithoutConsoleErrors) {
  // No skip: a machine without the browser fails here, as scripts/install-deps
  // installs it.
  ASSERT_EQ(run("command -v chromium >/dev/null"), 0) << "chromium is not installed";
  const std::string artefacts = BK_REPORT_ARTIFACTS_DIR;
  fs::create_directories(artefacts);
  const std::string vault = artefacts + "/vault";
  fs::create_directories(vault);
  ASSERT_EQ(report("'" + failing_ + "' -o " + artefacts + "/session.html " + keyArgument()), 0);
  ASSERT_EQ(report("--vault " + kData + " -o " + vault + "/index.html " + keyArgument()), 0);
  for (const std::string name : {"session", "vault"}) {
    const std::string page =
        name == "session" ? artefacts + "/session.html" : vault + "/index.html";
    const std::string shot = artefacts + "/" + name + ".png";
    const std::string log = artefacts + "/" + name + "-chromium.log";
    const std::string profile = kOut + "/chromium-profile-" + name;
    fs::remove(shot);
    fs::remove_all(profile);
    fs::create_directories(profile);
    const int status = run(
        "timeout 120 chromium --headless --no-sandbox --disable-gpu --disable-quic --no-first-run"
        " --disable-background-networking --disable-component-update --disable-sync"
        " --user-data-dir='" +
        profile +
        "' --enable-logging=stderr --window-size=1280,1400"
        " --screenshot='" +
        shot + "' 'file://" + page + "' >'" + log + "' 2>&1");
    EXPECT_EQ(status, 0) << readFile(log);
    ASSERT_TRUE(fileExists(shot)) << readFile(log);
    // The page has no script, so any console line is an error: a blocked
    // load, a bad reference, a policy violation.
    EXPECT_FALSE(contains(readFile(log), ":CONSOLE")) << readFile(log);
    std::string why;
    EXPECT_TRUE(pngHasSeveralColours(shot, why)) << shot << ": " << why;
  }
}

}  // namespace
