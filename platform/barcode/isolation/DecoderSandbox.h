#pragma once

#include "platform/services/Result.h"

namespace platform::decoder {

/// Permanently restricts this process to what reading pictures needs: sending and receiving
/// messages on `socket`, mapping memory that is not executable, writing to the standard error,
/// reading the time, and ending. Opening a file fails with EACCES, since libraries look for files
/// and continue without them; any other system call ends the process. Core dumps, new processes,
/// more than a few descriptors, and memory beyond the limit are refused, too.
///
/// To be called when the libraries are set up, while there is one thread: no other can start.
/// Errors have the domain `posixErrorDomain`; then the process must not read a picture.
///
/// A build with sanitizers limits the descriptors only: their runtimes need the rest.
Result<void> lockIn(int socket);

/// Makes the kernel kill this process when the other end of the pipe `lifeline` is closed, even
/// while a library hangs. (PR_SET_PDEATHSIG would do so when the thread that started the process
/// ends.) False on failure, or when the other end is closed already.
[[nodiscard]] bool dieWith(int lifeline);

} // namespace platform::decoder
