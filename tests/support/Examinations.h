#pragma once

namespace support {

/// Waits until all submitted examinations of pictures have ended, and runs the jobs that they have
/// submitted to the main thread. Main thread.
void waitForExaminations();

} // namespace support
