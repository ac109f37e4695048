#pragma once

#include <QStringList>

namespace support {

/// The names of this process's threads, as they are now.
QStringList threadNames();

/// How many of them have the name.
int threadsNamed(const QString& name);

} // namespace support
