#pragma once

#include "platform/Bundle.h"

#include <QFile>
#include <QTemporaryDir>

#include <utility>

#include <gtest/gtest.h>

/// A property list with these texts.
[[nodiscard]] inline QByteArray propertyList(const QList<std::pair<QString, QString>> &texts)
{
    QByteArray xml = R"(<?xml version="1.0" encoding="UTF-8"?><plist version="1.0"><dict>)";
    for (const auto &[key, text] : texts)
        xml +=
            "<key>" + key.toUtf8() + "</key><string>" + text.toHtmlEscaped().toUtf8() + "</string>";
    return xml + "</dict></plist>";
}

/// What stands for the property list "Url" while it lives; without a text until it is set.
class Configuration
{
public:
    Configuration() { set(propertyList({})); }
    ~Configuration() { Bundle::setConfigurationFile({}); }
    Configuration(const Configuration &) = delete;
    Configuration &operator=(const Configuration &) = delete;

    [[nodiscard]] QString file() const { return m_folder.filePath(QStringLiteral("Url.plist")); }

    void set(const QByteArray &content) const
    {
        QFile written(file());
        EXPECT_TRUE(written.open(QFile::WriteOnly) && written.write(content) == content.size());
        Bundle::setConfigurationFile(file());
    }

private:
    QTemporaryDir m_folder;
};
