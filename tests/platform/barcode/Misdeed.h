#pragma once

/// What the misbehaving decoder does when it gets a picture; the value of the first pixel. If the
/// process still runs afterwards, it replies with one code, whose text is the result.
enum class Misdeed : unsigned char {
    None, ///< the text is "well behaved"
    Hang,
    HangSilently, ///< after closing its end of the channel
    Abort,
    Crash, ///< by writing to the pixels
    Leave,
    // Invalid replies
    SendNoise,
    SendTooMuch,
    SendAnotherNumber,
    SendTwice, ///< the first reply with a descriptor
    // Forbidden actions; the text is "refused" or "done"
    OpenFile,
    MakeFile,
    WritePixels,
    OpenSocket,
    Fork,
    Exec,
    StartThread,
    SignalProgram,
    TraceProgram,
    MapCode,
    AllocateMemory,
    // Searches; the text is "nothing" or "something"
    LookAtEnvironment,
    LookForDescriptors,
};
