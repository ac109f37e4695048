#pragma once

namespace platform::decoder {

/// Takes from this process, for good, all that reading pictures does not need. What remains: to
/// take and send messages on `socket`, to map memory that is not executable, to complain on the
/// standard error, to ask for the time, and to end. A file is met with EACCES, since libraries
/// look for some and go on without; any other system call ends the process. Core dumps, new
/// processes, more than a few descriptors, and memory beyond the limit are refused, too.
///
/// To be called once the libraries are set up, while there is one thread: no other can begin.
/// Returns 0 or the errno of what failed, and then the process must not touch a picture.
///
/// A build with sanitizers limits the descriptors only: their runtimes need the rest.
[[nodiscard]] int lockIn(int socket);

/// Makes the kernel kill this process as soon as nobody holds the other end of the pipe `lifeline`
/// open, even while a library hangs. (PR_SET_PDEATHSIG would do so when the thread ends that
/// started the process.) Returns 0 or an errno.
[[nodiscard]] int dieWith(int lifeline);

} // namespace platform::decoder
