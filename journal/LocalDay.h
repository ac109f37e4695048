#pragma once

#include <QtGlobal>

namespace vellumcap {

/// A calendar day of the local time zone: the range of its instants, in milliseconds since the
/// epoch. A day on which the clock changes has more or fewer than 24 hours, and may not begin at
/// 00:00.
struct LocalDay {
    /// The day that contains `instant`.
    static LocalDay of(qint64 instant);

    bool contains(qint64 instant) const { return instant >= start && instant < end; }

    qint64 start = 0;
    qint64 end = 0; ///< the start of the next day
};

} // namespace vellumcap
