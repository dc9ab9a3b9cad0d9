#include "bench/BenchPen.h"
#include "bench/BenchProgram.h"
#include "bench/Child.h"
#include "bench/Figures.h"
#include "bench/PlainServer.h"

#include "app/ViewController.h"
#include "bluetooth/VideosController.h"
#include "platform/SimulatedCentral.h"
#include "platform/WebEngineStart.h"
#include "platform/WebView.h"

#include <QFile>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

// From the pen's pointing at a video to the video.

namespace {

constexpr int rounds = 7;
constexpr int pieces = 5;
constexpr double patience = 20'000; // milliseconds

QByteArray film()
{
    QFile file(u":/bench/video.mp4"_s);
    return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
}

std::shared_ptr<SimulatedPeripheral> addPen(SimulatedCentral &radio)
{
    auto pen = radio.addPeripheral(
        {.name = BluetoothService::quilloName,
         .identifier = u"1"_s,
         .services = {{BluetoothService::serviceUUID, {BluetoothService::characteristicUUID}}}});
    radio.setInReach(pen, true);
    return pen;
}

bool send(SimulatedPeripheral &pen, const QByteArray &message)
{
    return pen.send(BluetoothService::characteristicUUID, message);
}

void point(SimulatedPeripheral &pen, const QByteArray &address)
{
    const qsizetype length = address.size() / pieces + 1;
    for (int index = 0; index < pieces; ++index) {
        const QByteArray head{"\xAA\x05"};
        if (!send(pen, head + static_cast<char>(index) + address.mid(index * length, length)))
            qFatal("nobody listens to the pen");
    }
}

void connectTo(SimulatedPeripheral &pen, BenchProgram &program)
{
    BluetoothService &service = program.viewController()->bluetoothService;
    service.scanDuration = 0ms;
    service.startScan();
    program.waitFor([&pen] { return send(pen, "?"); }, patience);
}

} // namespace

bool videoFigures()
{
    if (const std::optional<QString> obstacle = webEngineObstacle()) {
        std::fprintf(stderr, "  no figures of videos: %s\n", qPrintable(*obstacle));
        return true;
    }
    const auto told = runChild(u"videos"_s, {});
    const bool held = report(u"from the pen's pointing at a video to its address"_s,
                             told.value(u"address"_s), 60, u"ms"_s);
    note(u"from the pen's pointing at a video to its first picture"_s, told.value(u"picture"_s),
         u"ms"_s);
    note(u"from the videos view's showing, with the engine's start, to the same"_s,
         told.value(u"first"_s), u"ms"_s);
    return held;
}

int videosChild(int argc, char **argv)
{
    const BenchPen titles(0);
    PlainServer server;
    BenchProgram program(argc, argv, titles.volumes(), titles.configuration());
    const auto pen = addPen(static_cast<SimulatedCentral &>(program.radio()));
    program.start();
    program.endRun();
    const double shown = now();
    program.viewController()->showView(NavElementType::Videos);
    WebView &view = *program.viewController()->videosController->webView;
    double played = 0;
    QObject::connect(&view, &WebView::playing, [&played] { played = now(); });
    connectTo(*pen, program);
    QList<double> addresses;
    QList<double> pictures;
    for (int i = 0; i <= rounds; ++i) {
        const QByteArray path = "/film-" + QByteArray::number(i) + ".mp4";
        server.serve(path, {film()});
        const QUrl url = server.url(path);
        played = 0;
        const double pointed = now();
        point(*pen, url.toEncoded());
        program.waitFor([&] { return view.request().address == url; }, patience);
        addresses += now() - pointed;
        program.waitFor([&played] { return played > 0; }, patience);
        if (played <= 0)
            qFatal("no video was seen");
        if (i == 0)
            tell(u"first"_s, played - shown);
        else
            pictures += played - pointed;
    }
    tell(u"address"_s, median(addresses));
    tell(u"picture"_s, median(pictures));
    return 0;
}
