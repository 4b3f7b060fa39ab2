// The raw-text cutters: the quirks the other sides of the signatures depend
// on, and that a hostile text never makes them read past its end.
#include <gtest/gtest.h>

#include <string>

#include "signature/RawTextCutters.h"
#include "signature/SigningPrimitives.h"
#include "support/TestSupport.h"

namespace {

// `how` is 'O' (object by key), 'S' (string by key), or the mark of a span.
struct Cut {
  char how;
  const char* text;
  const char* key;
  const char* expected;  // nullptr: the cut fails
};

const Cut kCuts[] = {
    {'O', "{\n\t\"b\" : {\"x\" : {\"y\" : 1}},\n\t\"a\" : { \"z\" :\t2 }\n}", "a",
     "{ \"z\" :\t2 }"},
    {'O', "{\"b\" : {\"x\" : {\"y\" : 1}}}", "b", "{\"x\" : {\"y\" : 1}}"},
    // The key quoted first as a value: the cut starts there.
    {'O', "{\"v\" : \"k\", \"w\" : {\"q\" : 1}, \"k\" : {\"z\" : 2}}", "k", "{\"q\" : 1}"},
    {'O', "{\"a\" : 5, \"b\" : {\"c\" : 1}}", "a", "{\"c\" : 1}"},       // the next object
    {'O', "{\"a\" : {\"s\" : \"}\", \"t\" : 1}}", "a", "{\"s\" : \"}"},  // braces in strings count
    {'O', "{\"a\" : 1, \"b\" : 2", "a", nullptr},
    {'O', "{\"a\" : {{\"b\" : {}", "a", nullptr},
    {'O', "{\"a\"", "a", nullptr},
    {'O', "\"a\"{", "a", nullptr},
    {'[', "x [1, [2]], \"y\" : [3] }", "", "[1, [2]], \"y\" : [3]"},  // to the last mark
    {'{', "a {b} c {d} e", "", "{b} c {d}"},
    {':', "\"k\" : \"v\", \"l\" : \"w\"", "", "v"},
    {':', "\"n\" : 12,\n\"m\" : \"w\"", "", "m"},  // a bare number is passed over
    {':', "\"s\" : \"C0\\\"2\"", "", "C0\\"},      // an escaped quote ends the value
    {'[', "[unclosed", "", nullptr},
    {':', "\"s\" : \"open", "", nullptr},
    {'S', "{\"digest\" : \"d1\", \"signature\" : \"ab\"}", "signature", "ab"},
    {'S', "{\"digest\" : \"d1\", \"signature\" : \"ab\"}", "digest", "d1"},
    // Seven letters: the fixed skip lands inside the key.
    {'S', "{\"version\" : \"7\"}", "version", " : "},
    // The first quoted occurrence wins, even inside a value.
    {'S', "{\"n\" : \"\"signature\" : \"x\", \"signature\" : \"y\"}", "signature", "x"},
    {'S', "\"signature\"", "signature", nullptr},
    {'S', "\"signature\" : \"abc", "signature", nullptr},
    {'S', "\"d\"", "d", nullptr},  // a skip of 8 past a 3-byte text
};

TEST(SignatureCutters, CutsKeepTheirQuirksAndStopAtTheEnd) {
  for (const Cut& row : kCuts) {
    std::string out = "untouched";
    const bool cut = row.how == 'O'   ? GetUnsortedObjFromJsonString(row.text, out, row.key)
                     : row.how == 'S' ? GetStringFromString(row.text, out, row.key)
                                      : GetStringFromObj(row.text, out, row.how);
    EXPECT_EQ(cut, row.expected != nullptr) << row.text;
    // A span that fails is emptied; the other cuts leave their output alone.
    const char* failed = isalpha(row.how) ? "untouched" : "";
    EXPECT_EQ(out, row.expected != nullptr ? row.expected : failed) << row.text;
  }
}

TEST(SignatureCutters, FileTextStopsAtTheFirst0xFF) {
  bk_test::writeFile("/tmp/convert-file.txt", std::string("a\nb\xff"
                                                          "c",
                                                          5));
  std::string out = "old";
  ConvertFileToString("/tmp/convert-file.txt", out);
  EXPECT_EQ(out, "a\nb");
}

}  // namespace
