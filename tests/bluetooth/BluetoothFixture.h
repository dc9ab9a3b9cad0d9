#pragma once

#include "tests/support/Traces.h"

#include "bluetooth/BluetoothService.h"
#include "bluetooth/BluetoothServiceDelegate.h"

#include <QTest>

#include <gtest/gtest.h>

/// The pen's message with a piece of an address.
[[nodiscard]] inline QByteArray piece(int count, int index, const QByteArray &text)
{
    return QByteArray("\xAA") + char(count) + char(index) + text;
}

/// Writes down what the radio link tells.
class ToldByRadio : public BluetoothServiceDelegate
{
public:
    void connectionChanged(BluetoothService &service, bool connected) override
    {
        EXPECT_EQ(service.connected(), connected);
        told.append(connected ? QStringLiteral("connected") : QStringLiteral("not connected"));
    }
    void isScanning(BluetoothService &, bool scanning) override
    {
        told.append(scanning ? QStringLiteral("scanning") : QStringLiteral("scanned"));
    }
    void showMessage(BluetoothService &, const QString &key) override { told.append(key); }
    void didReceiveURL(BluetoothService &, const std::optional<QUrl> &url) override
    {
        told.append(url ? url->toString(QUrl::FullyEncoded) : QStringLiteral("default video"));
    }
    void foundPens(BluetoothService &, const QStringList &names,
                   const std::function<void(int)> &choose) override
    {
        told.append(names.join(u'|'));
        selection = choose;
    }

    /// What was told since the last call, up to this; all of it when it does not come.
    [[nodiscard]] QStringList upTo(const QString &last)
    {
        EXPECT_TRUE(QTest::qWaitFor([&] { return told.contains(last); }, 10'000))
            << last.toStdString();
        return std::exchange(told, {});
    }

    QStringList told;
    std::function<void(int)> selection;
};
