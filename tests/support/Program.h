#pragma once

#include "app/Capture.h"
#include "app/VellumcapAppDelegate.h"
#include "journal/JournalWindow.h"
#include "tests/support/Alerts.h"

#include <QDateTime>
#include <QImage>

namespace support {

enum class Start { Launched, NotLaunched };
enum class Data { Fresh, Kept };

/// The program in this process, with the sandbox's data folder: the real delegate, store and
/// windows. The destructor ends it, so that a test can start it again.
class Program {
public:
    explicit Program(Start start = Start::Launched, Data data = Data::Fresh);
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    vellumcap::VellumcapAppDelegate& delegate() { return m_delegate; }
    vellumcap::JournalWindow& journal() { return *m_delegate.journalWindow(); }

    static QString dataFolder();
    static QString storePath();
    static QStringList pictures(); ///< names of the JPEG files in the data folder

    /// Stores a capture of that moment, and lists it in the journal if one is open.
    std::shared_ptr<vellumcap::Capture> keep(
        const QString& text, const QDateTime& moment = QDateTime::currentDateTimeUtc());

private:
    vellumcap::VellumcapAppDelegate m_delegate;
};

/// A picture of one colour.
QImage plainPicture(Qt::GlobalColor color = Qt::darkCyan, QSize size = { 64, 48 });

/// Sets the process's time zone; the destructor sets UTC.
class TimeZone {
public:
    explicit TimeZone(const char* name);
    ~TimeZone();
    TimeZone(const TimeZone&) = delete;
    TimeZone& operator=(const TimeZone&) = delete;
};

} // namespace support
