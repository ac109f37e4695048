#pragma once

/// GStreamer's type for a frame with its format, so that headers need not include the library's.
using GstSample = struct _GstSample; // NOLINT(bugprone-reserved-identifier): the library's name
