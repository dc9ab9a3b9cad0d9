#pragma once

#include "platform/SimulatedCentral.h"

#include <QPointer>

/// The simulated Bluetooth: two pens that can be in reach, and what they send. Whatever the pen
/// sends goes nowhere, told by false, unless the program has subscribed to it.
class DemoRadio
{
public:
    /// The radio, once, with the first pen in reach. Owned by the caller, used by all others here
    /// as long as it lives.
    [[nodiscard]] std::unique_ptr<SimulatedCentral> make();

    void setPoweredOn(bool on);
    void setInReach(int pen, bool inReach); ///< 0 or 1
    /// Whether the program is connected to a pen and hears what that sends.
    [[nodiscard]] bool isConnected() const;

    /// Sends the address in that many pieces, at most 255.
    bool sendAddress(const QByteArray &address, int pieces);
    /// Sends half of the address and gives up.
    bool breakOff(const QByteArray &address);
    bool askForDefaultVideo();
    bool send(const QByteArray &message);

    /// The notifications of an address in that many pieces.
    [[nodiscard]] static QList<QByteArray> messages(const QByteArray &address, int pieces);
    static const QByteArray gaveUpMessage;
    static const QByteArray defaultVideoMessage;

private:
    QPointer<SimulatedCentral> m_central;
    QList<std::shared_ptr<SimulatedPeripheral>> m_pens;
};
