// The raw-text cutters: what they cut, the quirks the other sides of the
// signatures depend on, and that a hostile file never makes them read past
// the end of their text.
#include <gtest/gtest.h>

#include <string>

#include "signature/RawTextCutters.h"
#include "signature/SigningPrimitives.h"

namespace {

TEST(SignatureObjectCutter, CutsTheObjectInFileOrderWithItsBlanks) {
  const std::string text = "{\n\t\"b\" : {\"x\" : {\"y\" : 1}},\n\t\"a\" : { \"z\" :\t2 }\n}";
  std::string out;
  ASSERT_TRUE(GetUnsortedObjFromJsonString(text, out, "a"));
  EXPECT_EQ(out, "{ \"z\" :\t2 }");
  ASSERT_TRUE(GetUnsortedObjFromJsonString(text, out, "b"));
  EXPECT_EQ(out, "{\"x\" : {\"y\" : 1}}");
}

TEST(SignatureObjectCutter, KeepsTheNaiveSearchOthersSignWith) {
  std::string out;
  // The key quoted first as a value: the cut starts there.
  EXPECT_TRUE(GetUnsortedObjFromJsonString(
      "{\"v\" : \"ksinfo\", \"w\" : {\"q\" : 1}, \"ksinfo\" : {\"k\" : 2}}", out, "ksinfo"));
  EXPECT_EQ(out, "{\"q\" : 1}");
  // A key whose value is no object takes the next object.
  EXPECT_TRUE(GetUnsortedObjFromJsonString("{\"a\" : 5, \"b\" : {\"c\" : 1}}", out, "a"));
  EXPECT_EQ(out, "{\"c\" : 1}");
  // A brace inside a string counts, so the cut ends early.
  EXPECT_TRUE(GetUnsortedObjFromJsonString("{\"a\" : {\"s\" : \"}\", \"t\" : 1}}", out, "a"));
  EXPECT_EQ(out, "{\"s\" : \"}");
}

TEST(SignatureObjectCutter, GivesUpWhereTheTextEnds) {
  std::string out = "untouched";
  EXPECT_FALSE(GetUnsortedObjFromJsonString("", out, "a"));
  EXPECT_FALSE(GetUnsortedObjFromJsonString("{\"a\" : {}}", out, ""));
  EXPECT_FALSE(GetUnsortedObjFromJsonString("{\"b\" : {}}", out, "a"));
  EXPECT_FALSE(GetUnsortedObjFromJsonString("{\"a\" : 1, \"b\" : 2", out, "a"));  // no brace
  EXPECT_FALSE(GetUnsortedObjFromJsonString("{\"a\" : {{\"b\" : {}", out, "a"));  // unbalanced
  EXPECT_FALSE(GetUnsortedObjFromJsonString("{\"a\"", out, "a"));  // key at the very end
  EXPECT_FALSE(GetUnsortedObjFromJsonString("\"a\"{", out, "a"));  // brace at the very end
  EXPECT_EQ(out, "untouched");
}

TEST(SignatureSpanCutter, BracketsRunToTheLastClosingMarkOfTheText) {
  std::string out;
  ASSERT_TRUE(GetStringFromObj("x [1, [2]], \"y\" : [3] }", out, '['));
  EXPECT_EQ(out, "[1, [2]], \"y\" : [3]");
  ASSERT_TRUE(GetStringFromObj("a {b} c {d} e", out, '{'));
  EXPECT_EQ(out, "{b} c {d}");
  EXPECT_FALSE(GetStringFromObj("no brackets", out, '['));
  EXPECT_FALSE(GetStringFromObj("] before [", out, '['));
  EXPECT_FALSE(GetStringFromObj("[unclosed", out, '['));
  EXPECT_TRUE(out.empty());
  EXPECT_FALSE(GetStringFromObj("", out, '['));
  EXPECT_FALSE(GetStringFromObj("(x)", out, '('));
}

TEST(SignatureSpanCutter, ColonTakesTheNextQuotedStringWithoutEscapes) {
  std::string out;
  ASSERT_TRUE(GetStringFromObj("\"k\" : \"v\", \"l\" : \"w\"", out, ':'));
  EXPECT_EQ(out, "v");
  // A bare number is passed over: the next quoted text is the next key.
  ASSERT_TRUE(GetStringFromObj("\"n\" : 12,\n\"m\" : \"w\"", out, ':'));
  EXPECT_EQ(out, "m");
  // An escaped quotation mark ends the value.
  ASSERT_TRUE(GetStringFromObj("\"s\" : \"C0\\\"2\"", out, ':'));
  EXPECT_EQ(out, "C0\\");
  EXPECT_FALSE(GetStringFromObj("\"s\" 1", out, ':'));
  EXPECT_FALSE(GetStringFromObj("\"s\" : \"open", out, ':'));
  EXPECT_FALSE(GetStringFromObj("\"s\" :", out, ':'));
}

TEST(SignatureStringCutter, SkipsFixedCountsPastTheKey) {
  std::string out;
  const std::string text = "{\"digest\" : \"d1\", \"signature\" : \"ab\", \"version\" : \"7\"}";
  ASSERT_TRUE(GetStringFromString(text, out, "signature"));
  EXPECT_EQ(out, "ab");
  ASSERT_TRUE(GetStringFromString(text, out, "digest"));
  EXPECT_EQ(out, "d1");
  // Seven letters: the count lands inside the key, whose closing mark is
  // taken for the value's opening one.
  ASSERT_TRUE(GetStringFromString(text, out, "version"));
  EXPECT_EQ(out, " : ");
  // The first quoted occurrence wins, even inside a value.
  ASSERT_TRUE(GetStringFromString("{\"note\" : \"\"signature\" : \"x\", \"signature\" : \"y\"}",
                                  out, "signature"));
  EXPECT_EQ(out, "x");
}

TEST(SignatureStringCutter, GivesUpWhereTheTextEnds) {
  std::string out = "untouched";
  EXPECT_FALSE(GetStringFromString("", out, "digest"));
  EXPECT_FALSE(GetStringFromString("{\"digest\" : \"x\"}", out, ""));
  EXPECT_FALSE(GetStringFromString("{\"other\" : \"x\"}", out, "digest"));
  EXPECT_FALSE(GetStringFromString("\"signature\"", out, "signature"));  // key at the very end
  EXPECT_FALSE(GetStringFromString("\"signature\" :", out, "signature"));
  EXPECT_FALSE(GetStringFromString("\"signature\" : \"abc", out, "signature"));
  EXPECT_FALSE(GetStringFromString("\"d\"", out, "d"));  // skip of 8 past a 3-byte text
  EXPECT_EQ(out, "untouched");
}

TEST(SignatureHexText, LowerCaseHighNibbleFirst) {
  const unsigned char bytes[] = {0x00, 0x0f, 0xa5, 0xff};
  EXPECT_EQ(binToHexString(bytes, 4), "000fa5ff");
  EXPECT_EQ(binToHexString(bytes, 0), "");
  EXPECT_EQ(binToHexString(nullptr, 4), "");
  EXPECT_EQ(sha1Hex("abc"), "a9993e364706816aba3e25717850c26c9cd0d89d");
}

TEST(SignatureFileText, StopsAtTheFirst0xFFByte) {
  const std::string path = "/tmp/convert-file.txt";
  FILE* file = fopen(path.c_str(), "wb");
  ASSERT_NE(file, nullptr);
  const char content[] = {'a', '\n', 'b', static_cast<char>(0xFF), 'c'};
  fwrite(content, 1, sizeof(content), file);
  fclose(file);
  std::string out = "old";
  ConvertFileToString(path.c_str(), out);
  EXPECT_EQ(out, "a\nb");
  ConvertFileToString("/tmp/does-not-exist", out);
  EXPECT_EQ(out, "");
}

}  // namespace
