// A failure a session finds before its end, in a station check or in the
// serial number.  Done turns it into a failing test; commit reads its verdict.
// ACTIVE stops the unit; PASSIVE records the failure and lets the test run on.
#ifndef BRAMBLEKIT_SESSION_PENDINGFAILURE_H_
#define BRAMBLEKIT_SESSION_PENDINGFAILURE_H_

#include <string>

class PendingFailure {
 public:
  // How a new failure meets one recorded before it.
  enum class Over {
    kReplace,     // the new one replaces it whole
    kKeepActive,  // an ACTIVE one keeps its name, detail and message
  };

  // The unit fails, ACTIVE or PASSIVE.  `name` and `detail` become the
  // failing test's names; `message` is what the session's later replies
  // carry.  A caller that must leave a field as it was passes its value.
  void record(bool active, const std::string& name, const std::string& detail,
              const std::string& message, Over over = Over::kReplace) {
    const bool keep = over == Over::kKeepActive && active_;
    failed_ = true;
    active_ = active || keep;
    if (keep) return;
    name_ = name;
    detail_ = detail;
    message_ = message;
  }

  // The serial-number check's own verdict: it sets only whether the unit
  // fails and the name, so a PASSIVE one takes an earlier failure back while
  // its ACTIVE flag, detail and message stay.
  void recordVerdictOnly(bool failed, const std::string& name) {
    failed_ = failed;
    name_ = name;
  }

  bool failed() const { return failed_; }
  bool active() const { return active_; }
  const std::string& name() const { return name_; }
  const std::string& detail() const { return detail_; }
  const std::string& message() const { return message_; }

 private:
  bool failed_ = false;
  bool active_ = false;
  std::string name_;
  std::string detail_;
  std::string message_;
};

#endif  // BRAMBLEKIT_SESSION_PENDINGFAILURE_H_
