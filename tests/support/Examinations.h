#pragma once

namespace support {

/// Waits until every examination of a picture that was submitted has ended, and runs what it has
/// submitted to the main thread. Main thread.
void waitForExaminations();

} // namespace support
