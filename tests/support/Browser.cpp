#include "tests/support/Browser.h"

#include "tests/support/Pictures.h"

#include <QFile>

using namespace Qt::StringLiterals;

namespace support {
namespace {

constexpr auto script = R"(#!/bin/sh
printf '%s\n' "$1" >> "${0%/*}/opened"
)";

} // namespace

Browser::Browser()
{
    const QString path = m_folder.filePath(u"browser"_s);
    writeFile(path, script);
    QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    writeFile(qEnvironmentVariable("XDG_DATA_HOME") + u"/applications/browser.desktop"_s,
        "[Desktop Entry]\nType=Application\nName=Browser\nExec=" + path.toUtf8() + " %u\n");
    writeFile(qEnvironmentVariable("XDG_CONFIG_HOME") + u"/mimeapps.list"_s,
        "[Default Applications]\n"
        "x-scheme-handler/http=browser.desktop\n"
        "x-scheme-handler/https=browser.desktop\n"
        "inode/directory=browser.desktop\n");
}

QStringList Browser::opened() const
{
    QFile notes(notesPath());
    return notes.open(QFile::ReadOnly)
        ? QString::fromUtf8(notes.readAll()).split(u'\n', Qt::SkipEmptyParts)
        : QStringList();
}

void Browser::forget()
{
    QFile::remove(notesPath());
}

} // namespace support
