#pragma once

#include <QStringList>

namespace support {

/// The names of the current threads of this process.
QStringList threadNames();

/// The number of threads with that name.
int threadsNamed(const QString& name);

} // namespace support
