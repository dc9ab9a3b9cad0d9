#include "tests/support/PenFolder.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

PenFolder::PenFolder(const QString &name, Start start)
    : m_name(name)
    , m_pluggedIn(start == Start::PluggedIn)
{
    EXPECT_TRUE(m_directory.isValid());
    const QDir directory(m_directory.path());
    EXPECT_TRUE(directory.mkpath(u"volumes"_s) && directory.mkpath(u"drawer"_s));
    EXPECT_TRUE(QDir().mkpath(path(u"book"_s)) && QDir().mkpath(path(u"mp3"_s)));
    write(u"configure/settings.ini"_s, "firmwareVersion=1\nImageVersion=1\n");
}

void PenFolder::move(bool pluggedIn)
{
    const QString before = root();
    m_pluggedIn = pluggedIn;
    EXPECT_TRUE(QDir().rename(before, root()));
}

void PenFolder::write(const QString &relative, const QByteArray &data) const
{
    QDir().mkpath(QFileInfo(path(relative)).path());
    QFile file(path(relative));
    EXPECT_TRUE(file.open(QFile::WriteOnly) && file.write(data) == data.size())
        << qPrintable(relative);
}

QByteArray PenFolder::read(const QString &relative) const
{
    QFile file(path(relative));
    if (!file.open(QFile::ReadOnly))
        return {};
    const QByteArray data = file.readAll();
    return data.isNull() ? QByteArray("") : data;
}

void PenFolder::remove(const QString &relative) const
{
    const QFileInfo item(path(relative));
    EXPECT_TRUE(item.isDir() && !item.isSymLink() ? QDir(item.filePath()).removeRecursively()
                                                  : QFile::remove(item.filePath()));
}

QStringList PenFolder::names(const QString &relative) const
{
    return QDir(path(relative))
        .entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                   QDir::Name);
}
