#include "demo/DemoRadio.h"

#include "bluetooth/BluetoothService.h"

#include <algorithm>

using namespace Qt::StringLiterals;

const QByteArray DemoRadio::gaveUpMessage = QByteArray::fromHex("bb");
const QByteArray DemoRadio::defaultVideoMessage = QByteArray::fromHex("cc");

std::unique_ptr<SimulatedCentral> DemoRadio::make()
{
    auto central = std::make_unique<SimulatedCentral>();
    m_central = central.get();
    for (const QString &identifier : {u"C0:FF:EE:00:00:01"_s, u"C0:FF:EE:00:00:02"_s}) {
        m_pens.append(m_central->addPeripheral({
            .name = BluetoothService::quilloName,
            .identifier = identifier,
            .services = {{BluetoothService::serviceUUID, {BluetoothService::characteristicUUID}}},
        }));
    }
    setInReach(0, true);
    return central;
}

void DemoRadio::setPoweredOn(bool on)
{
    if (m_central)
        m_central->setState(on ? CentralManager::State::poweredOn
                               : CentralManager::State::poweredOff);
}

void DemoRadio::setInReach(int pen, bool inReach)
{
    if (m_central)
        m_central->setInReach(m_pens.at(pen), inReach);
}

bool DemoRadio::isConnected() const
{
    return m_central && std::any_of(m_pens.begin(), m_pens.end(), [](const auto &pen) {
               return pen->isConnected()
                      && pen->hasSubscriber(BluetoothService::characteristicUUID);
           });
}

bool DemoRadio::sendAddress(const QByteArray &address, int pieces)
{
    const QList<QByteArray> all = messages(address, pieces);
    return std::all_of(all.begin(), all.end(), [this](const QByteArray &one) { return send(one); });
}

bool DemoRadio::breakOff(const QByteArray &address)
{
    return send(messages(address, 2).first()) && send(gaveUpMessage);
}

bool DemoRadio::askForDefaultVideo()
{
    return send(defaultVideoMessage);
}

bool DemoRadio::send(const QByteArray &message)
{
    return m_central && std::any_of(m_pens.begin(), m_pens.end(), [&message](const auto &pen) {
               return pen->send(BluetoothService::characteristicUUID, message);
           });
}

QList<QByteArray> DemoRadio::messages(const QByteArray &address, int pieces)
{
    QList<QByteArray> all;
    for (int index = 0; index < pieces; ++index) {
        const qsizetype begin = address.size() * index / pieces;
        const qsizetype end = address.size() * (index + 1) / pieces;
        QByteArray message("\xAA");
        message.append(static_cast<char>(pieces)).append(static_cast<char>(index));
        all.append(message + address.sliced(begin, end - begin));
    }
    return all;
}
