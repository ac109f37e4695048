#pragma once

/// What the misbehaving decoder does over a picture, whose first pixel says which. After a misdeed
/// that it survives it answers with one code, whose text tells how it went.
enum class Misdeed : unsigned char {
    None, ///< the text is "well behaved"
    Hang,
    HangSilently, ///< having closed its end of the channel
    Abort,
    Crash, ///< in writing to the pixels
    Leave,
    // Answers
    SendNoise,
    SendTooMuch,
    SendAnotherNumber,
    SendTwice, ///< at first with a descriptor
    // What it has no right to; the text is "refused" or "done"
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
    EatMemory,
    // What it may look for; the text is "nothing" or "something"
    LookAtEnvironment,
    LookForDescriptors,
};
