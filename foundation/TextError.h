// Errors that carry one text from the rule that failed to the one place that
// reports it.  They are thrown by pointer; the catcher deletes them.
#ifndef BRAMBLEKIT_FOUNDATION_TEXTERROR_H_
#define BRAMBLEKIT_FOUNDATION_TEXTERROR_H_

#include <string>

class exception_with_string {
 public:
  explicit exception_with_string(const std::string& text) : text_(text) {}
  virtual ~exception_with_string() {}
  std::string getErrorMessage() const { return text_; }

 private:
  std::string text_;
};

class BK_SNException_badLength : public exception_with_string {
 public:
  explicit BK_SNException_badLength(const std::string& text) : exception_with_string(text) {}
};

class BK_SNException_badFormat : public exception_with_string {
 public:
  explicit BK_SNException_badFormat(const std::string& text) : exception_with_string(text) {}
};

class BK_SNException_badChecksum : public exception_with_string {
 public:
  explicit BK_SNException_badChecksum(const std::string& text) : exception_with_string(text) {}
};

#endif  // BRAMBLEKIT_FOUNDATION_TEXTERROR_H_
