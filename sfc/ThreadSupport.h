// What the SFC query threads share: their signal set-up, the settings they
// read from the station info file, and the writing of a response file.
#ifndef BRAMBLEKIT_SFC_THREADSUPPORT_H_
#define BRAMBLEKIT_SFC_THREADSUPPORT_H_

#include <signal.h>

#include <string>

// SIGALRM belongs to the station as much as to the SFC threads.  The
// library's handler is installed once, at load, before any thread exists, so
// a signal sent to a thread that has just been started cannot end the
// process.  A SIGALRM that reaches an SFC thread wakes it (fnHandleSig); any
// other is passed on to what the station had set before: its handler, its
// ignoring, or the default action.  The handler has an empty mask and no
// SA_RESTART, so the signal interrupts a wait in the client.
// A second call, with the handler still in place, changes nothing.
void sfcInstallAlarmHandler();
// True while the library's SIGALRM handler is the installed one.
bool sfcAlarmHandlerInstalled();
// Marks the calling thread as an SFC thread: a SIGALRM it receives is the
// library's own.
void sfcMarkAlarmThread();
// A set holding SIGALRM alone.
sigset_t sfcAlarmSet();

// A text setting of section "ksinfo"; "NOTFOUND" when missing, "" when the
// value is not text-like.  Never throws.
std::string sfcReadText(const char* key);
// "SFC_TIMEOUT" in seconds, for the log: a value that is not an integer, or
// is 0 or less, gives 15.  Never throws.
int sfcReadTimeout();

// Replaces the file's content with `text`, without a line end.  A file that
// cannot be opened is passed over in silence: readers then see no file or an
// old one.
void sfcWriteResponseFile(const std::string& path, const char* text);

#endif  // BRAMBLEKIT_SFC_THREADSUPPORT_H_
