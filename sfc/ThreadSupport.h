// What the SFC query threads share: their signal set-up, the settings they
// read from the station info file, and the writing of a response file.
#ifndef BRAMBLEKIT_SFC_THREADSUPPORT_H_
#define BRAMBLEKIT_SFC_THREADSUPPORT_H_

#include <signal.h>

#include <string>

// Installs fnHandleSig for SIGALRM, with an empty mask and no flags, so that
// the signal interrupts a wait in the client instead of restarting it.
// Without this the signal's default action would end the whole process.
void sfcInstallAlarmHandler();
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
