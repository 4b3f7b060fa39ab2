#include "signature/RawTextCutters.h"

namespace {

std::string quoted(const std::string& key) { return "\"" + key + "\""; }

}  // namespace

bool FindUnsortedObjSpan(const std::string& text, const std::string& key, std::size_t& begin,
                         std::size_t& end) {
  if (text.empty() || key.empty()) return false;
  const std::size_t keyAt = text.find(quoted(key));
  if (keyAt == std::string::npos) return false;
  // Whatever lies between the key and the brace is skipped unseen: a key
  // whose value is no object takes the next object of the file.
  const std::size_t open = text.find('{', keyAt);
  if (open == std::string::npos) return false;
  int depth = 1;
  for (std::size_t i = open + 1; i < text.size(); ++i) {
    if (text[i] == '}') {
      if (--depth == 0) {
        begin = open;
        end = i + 1;
        return true;
      }
    } else if (text[i] == '{') {
      ++depth;
    }
  }
  return false;
}

bool GetUnsortedObjFromJsonString(const std::string& text, std::string& out,
                                  const std::string& key) {
  std::size_t begin = 0;
  std::size_t end = 0;
  if (!FindUnsortedObjSpan(text, key, begin, end)) return false;
  out = text.substr(begin, end - begin);
  return true;
}

bool GetStringFromObj(const std::string& text, std::string& out, char mark) {
  if (text.empty()) return false;
  out.clear();
  if (mark == '[' || mark == '{') {
    const char close = mark == '[' ? ']' : '}';
    const std::size_t first = text.find(mark);
    const std::size_t last = text.rfind(close);
    if (first == std::string::npos || last == std::string::npos || last < first) return false;
    out = text.substr(first, last - first + 1);
    return true;
  }
  if (mark == ':') {
    const std::size_t colon = text.find(':');
    if (colon == std::string::npos) return false;
    const std::size_t open = text.find('"', colon + 1);
    if (open == std::string::npos) return false;
    const std::size_t close = text.find('"', open + 1);
    if (close == std::string::npos) return false;
    out = text.substr(open + 1, close - open - 1);
    return true;
  }
  return false;
}

bool FindStringValueSpan(const std::string& text, const std::string& key, std::size_t& begin,
                         std::size_t& end) {
  if (text.empty() || key.empty()) return false;
  const std::size_t keyAt = text.find(quoted(key));
  if (keyAt == std::string::npos) return false;
  // Fixed counts, not the key's length: the readers of these files skip so.
  const std::size_t skip = key == "signature" ? 11 : 8;
  if (skip > text.size() - keyAt) return false;
  const std::size_t open = text.find('"', keyAt + skip);
  if (open == std::string::npos) return false;
  const std::size_t close = text.find('"', open + 1);
  if (close == std::string::npos) return false;
  begin = open + 1;
  end = close;
  return true;
}

bool GetStringFromString(const std::string& text, std::string& out, const std::string& key) {
  std::size_t begin = 0;
  std::size_t end = 0;
  if (!FindStringValueSpan(text, key, begin, end)) return false;
  out = text.substr(begin, end - begin);
  return true;
}
