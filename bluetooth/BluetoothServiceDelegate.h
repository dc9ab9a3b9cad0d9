#pragma once

#include <QStringList>
#include <QUrl>

#include <functional>
#include <optional>

class BluetoothService;

/// Hears what the radio link to the pen has to tell. Main thread only.
class BluetoothServiceDelegate
{
public:
    virtual ~BluetoothServiceDelegate() = default;

    virtual void connectionChanged(BluetoothService &service, bool connected) = 0;
    /// A scan has begun or ended.
    virtual void isScanning(BluetoothService &service, bool scanning) = 0;
    /// Something to tell the person, as the key of a text.
    virtual void showMessage(BluetoothService &service, const QString &key) = 0;
    /// The pen has sent an address, or, when absent, asks for the default video.
    virtual void didReceiveURL(BluetoothService &service, const std::optional<QUrl> &url) = 0;
    /// Several pens are in reach: `selection` takes the index of the one that the person chooses;
    /// it does nothing for any other index, nor once the service is gone.
    virtual void foundPens(BluetoothService &service, const QStringList &names,
                           const std::function<void(int)> &selection) = 0;
};
