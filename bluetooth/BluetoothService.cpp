#include "bluetooth/BluetoothService.h"

#include "base/ApplicationLog.h"
#include "bluetooth/BluetoothServiceDelegate.h"
#include "bluetooth/PenMessage.h"
#include "platform/StandardOutput.h"

#include <QPointer>

#include <utility>

using namespace Qt::StringLiterals;

const QString BluetoothService::quilloName = u"Quillo"_s;
const QUuid BluetoothService::serviceUUID(u"0000fff0-0000-1000-8000-00805f9b34fb"_s);
const QUuid BluetoothService::characteristicUUID(u"0000fff1-0000-1000-8000-00805f9b34fb"_s);

namespace {

using State = CentralManager::State;

QString stateKey(State state)
{
    switch (state) {
    case State::resetting:
        return u"bluetooth_resetting"_s;
    case State::unsupported:
        return u"bluetooth_unsupported"_s;
    case State::unauthorized:
        return u"bluetooth_unauthorized"_s;
    case State::poweredOff:
        return u"bluetooth_power_off"_s;
    case State::poweredOn:
        return u"bluetooth_power_on"_s;
    case State::unknown:
        break;
    }
    return u"bluetooth_unknown"_s;
}

QString displayName(const Peripheral &peripheral)
{
    const QString name = peripheral.name();
    return (name.isEmpty() ? BluetoothService::quilloName : name) + u' ' + peripheral.identifier();
}

QString uuidText(const QUuid &uuid)
{
    return uuid.toString(QUuid::WithoutBraces);
}

} // namespace

BluetoothService::BluetoothService(CentralManager &centralManager)
    : m_centralManager(centralManager)
{
    m_centralManager.delegate = this;
    m_scanTimer.setSingleShot(true);
    QObject::connect(&m_scanTimer, &QTimer::timeout, &m_scanTimer, [this] { scanEnded(); });
}

BluetoothService::~BluetoothService()
{
    m_centralManager.delegate = nullptr;
    if (scanning())
        m_centralManager.stopScan();
    if (m_quilloPeripheral) {
        m_quilloPeripheral->delegate = nullptr;
        m_centralManager.cancelPeripheralConnection(m_quilloPeripheral);
    }
}

// The scan, and which pen is taken.

void BluetoothService::didUpdateState(CentralManager &manager)
{
    writeLog(u"Manager did update state to "_s + nameOf(manager.state()));
}

void BluetoothService::startScan()
{
    if (scanning())
        return;
    if (m_centralManager.state() != State::poweredOn) {
        showMessage(stateKey(m_centralManager.state()));
        return;
    }
    m_scanTimer.start(scanDuration);
    if (delegate)
        delegate->isScanning(*this, true);
    m_centralManager.scanForPeripherals();
}

void BluetoothService::didDiscover(const PeripheralPtr &peripheral,
                                   const std::optional<QString> &localName)
{
    if (localName == quilloName && !m_foundQuillos.contains(peripheral))
        m_foundQuillos.append(peripheral);
}

void BluetoothService::scanEnded()
{
    m_centralManager.stopScan();
    if (delegate)
        delegate->isScanning(*this, false);
    writeLog(u"Will try to connect to found Quillos..."_s);
    // Switched off meanwhile: nothing can be found or connected to.
    if (m_centralManager.state() != State::poweredOn)
        showMessage(stateKey(m_centralManager.state()));
    else
        connectToFound(m_foundQuillos);
}

void BluetoothService::connectToFound(const QList<PeripheralPtr> &found)
{
    if (found.isEmpty()) {
        connectToKnown();
    } else if (found.size() == 1) {
        writeLog(u"One Quillo found... Adding now"_s);
        m_centralManager.stopScan();
        connectTo(found.first());
    } else {
        writeLog(u"More than one found... STILL TO BE IMPLEMENTED "_s);
        letChoose(found);
    }
}

void BluetoothService::connectToKnown()
{
    if (m_quilloPeripheral)
        m_centralManager.connectPeripheral(m_quilloPeripheral);
    else
        showMessage(u"bluetooth_no_quillo_found"_s);
}

void BluetoothService::letChoose(const QList<PeripheralPtr> &found)
{
    if (!delegate)
        return;
    QStringList names;
    for (const PeripheralPtr &peripheral : found)
        names.append(displayName(*peripheral));
    delegate->foundPens(*this, names, [this, guard = QPointer(&m_scanTimer), found](int index) {
        if (guard && index >= 0 && index < found.size())
            connectToFound({found.at(index)});
    });
}

void BluetoothService::connectTo(const PeripheralPtr &peripheral)
{
    // A link to another pen would stay, and its messages come through.
    if (m_quilloPeripheral && m_quilloPeripheral != peripheral) {
        m_quilloPeripheral->delegate = nullptr;
        m_centralManager.cancelPeripheralConnection(m_quilloPeripheral);
    }
    m_quilloPeripheral = peripheral;
    peripheral->delegate = this;
    m_centralManager.connectPeripheral(peripheral);
}

// The connection.

void BluetoothService::didConnect(const PeripheralPtr &peripheral)
{
    if (peripheral != m_quilloPeripheral)
        return;
    writeLog(u"**** SUCCESSFULLY CONNECTED TO QUILLO!!!"_s);
    peripheral->discoverServices();
    setConnected(true);
}

void BluetoothService::didFailToConnect(const PeripheralPtr &peripheral, const QString &)
{
    if (peripheral != m_quilloPeripheral)
        return;
    writeLog(u"**** CONNECTION TO QUILLO FAILED!!!"_s);
    m_quilloPeripheral.reset();
    m_foundQuillos.clear();
    showMessage(u"bluetooth_connection_failed"_s);
    setConnected(false);
}

void BluetoothService::didDisconnect(const PeripheralPtr &peripheral,
                                     const std::optional<QString> &error)
{
    writeLog(u"**** DISCONNECTED FROM QUILLO"_s);
    // The end of one that another has taken the place of; or one asked for before the pen was
    // connected to again: whoever asks forgets the pen.
    if (m_quilloPeripheral && (peripheral != m_quilloPeripheral || !error))
        return;
    if (error) {
        writeLog(u"****** Disconnection details: "_s + *error);
        showMessage(u"bluetooth_connection_failed"_s);
    }
    m_quilloPeripheral.reset();
    m_foundQuillos.clear();
    setConnected(false);
}

void BluetoothService::disconnect()
{
    if (!m_quilloPeripheral) {
        writeLog(u"No Quillo connected. Wont disconnect BT connection."_s);
        return;
    }
    m_centralManager.cancelPeripheralConnection(m_quilloPeripheral);
    m_quilloPeripheral.reset();
    setConnected(false);
}

// What the pen offers and sends.

void BluetoothService::didDiscoverServices(Peripheral &peripheral,
                                           const std::optional<QString> &error)
{
    if (error) {
        writeLog(u"ERROR DISCOVERING SERVICES: "_s + *error);
        return;
    }
    for (const QUuid &service : peripheral.services()) {
        writeLog(u"Discovered service "_s + uuidText(service));
        if (service == serviceUUID)
            peripheral.discoverCharacteristics(service);
    }
}

void BluetoothService::didDiscoverCharacteristics(Peripheral &peripheral, const QUuid &service,
                                                  const std::optional<QString> &error)
{
    writeLog(u"DID DISCOVER CHARACTERISTICS"_s);
    if (error) {
        writeLog(u"ERROR DISCOVERING CHARACTERISTICS: "_s + *error);
        return;
    }
    for (const QUuid &characteristic : peripheral.characteristics(service)) {
        if (characteristic == characteristicUUID && m_quilloPeripheral)
            peripheral.subscribe(characteristic);
    }
}

void BluetoothService::didUpdateValue(Peripheral &, const QUuid &, const QByteArray &value,
                                      const std::optional<QString> &error)
{
    if (error) {
        writeLog(u"ERROR ON UPDATING VALUE FOR CHARACTERISTIC: - "_s + *error);
        return;
    }
    if (!value.isEmpty())
        writeLog(u"Header: "_s + QString::number(static_cast<uchar>(value.front())));
    const PenMessage message = PenMessage::parse(value);
    switch (message.kind) {
    case PenMessage::Kind::Piece:
        takePiece(message.piece, message.lastPiece);
        break;
    case PenMessage::Kind::GaveUp:
        giveUpAddress();
        break;
    case PenMessage::Kind::DefaultVideo:
        writeLog(u"Got header 204"_s);
        if (delegate)
            delegate->didReceiveURL(*this, std::nullopt);
        break;
    case PenMessage::Kind::TooShort:
        debugPrint(u"The pen sent a message that is too short: "_s
                   + QString::fromLatin1(value.toHex()));
        break;
    case PenMessage::Kind::Unknown:
        break;
    }
}

void BluetoothService::giveUpAddress()
{
    if (!m_assembler.urlString().isEmpty())
        writeLog(u"Cleared urlString after failed atempt of sending an url per bluetooth!  "_s
                 + m_assembler.urlString());
    m_assembler.clear();
}

void BluetoothService::takePiece(const QString &piece, bool last)
{
    writeLog(u"values received: "_s + piece);
    m_assembler.append(piece);
    writeLog(u"url: "_s + m_assembler.urlString());
    if (last)
        finishAddress();
}

void BluetoothService::finishAddress()
{
    QString text;
    const std::optional<QUrl> url = m_assembler.finish(text);
    if (!url) {
        writeLog(u"Could not create URL from received string: "_s + text);
        return;
    }
    print(url->toString(QUrl::FullyEncoded));
    if (delegate)
        delegate->didReceiveURL(*this, url);
}

// What the delegate is told.

void BluetoothService::setConnected(bool connected)
{
    m_connected = connected;
    if (delegate)
        delegate->connectionChanged(*this, connected);
}

void BluetoothService::showMessage(const QString &key)
{
    if (delegate)
        delegate->showMessage(*this, key);
}
