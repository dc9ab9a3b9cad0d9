#include "tests/support/GoldenTrace.h"
#include "tests/sync/UpdateRunFixture.h"

#include <QDateTime>
#include <QRegularExpression>

using namespace Qt::StringLiterals;
using Reply = FaultServer::Reply;

namespace {

/// Lines that come in one order, or from several threads at once, and then sorted.
struct Stream
{
    QString name;
    QString lines; ///< a regular expression
    bool isSorted = false;
};

const QList<Stream> streams = {
    {u"pen and library, which have traces of their own"_s,
     u"^(getQuillo|isQuillo|getFileContent|in get|\"Quillo is connected|\"Not an identifier)"_s},
    {u"the planning"_s, u"^updateAll (in|nach missing \\.\\.\\.)$"_s},
    {u"the end of the comparison"_s, u"^updateAll in 2$"_s},
    {u"the run"_s, u"^(updateAll|startElementDownloads|getTextFileContentFromPen|Will delete)"_s},
    {u"the catalogue"_s,
     u"^(\"there are|\"now i got|The Book|\"Did not find|\"Queued|\"No MIDs)"_s},
    {u"the system software"_s, u"^\"(firmware|iso|VersionService|Finished)"_s, true},
    {u"covers"_s, u"^No (cover|picture)"_s, true},
    {u"ends of transfers"_s, u"^didFinishCollecting"_s},
    {u"the window and transfers"_s, u"."_s},
    {u"requests for the catalogue"_s, u"^(GET /versions|GET /medias)"_s},
    {u"requests for files"_s, u"^GET /(files/.*qnk|software)"_s},
    {u"requests beside them"_s, u"."_s, true},
};

/// Titles that go every way there is, and what a run of them leaves behind.
class UpdateRunTrace : public UpdateRunTest
{
protected:
    UpdateRunTrace()
    {
        setCurrentLanguage(u"de"_s);
        QObject::connect(&controller(), &DownloadWindowController::presentationChanged,
                         &controller(), [this] {
                             if (headlines.isEmpty() || headlines.last() != window().headline)
                                 headlines += window().headline;
                         });
    }

    void fillPen()
    {
        rig.pen.write(u"configure/tbd.txt"_s, "x MID=0007 y\nMID=\nMID=47\nMID=43");
        rig.pen.write(u"configure/log.txt"_s, "MID=12\nMID=12\nMID=345\n");
        rig.pen.write(u"configure/settings.ini"_s, "ImageVersion =\t5\nfirmwareVersion=1\n");
        for (const QString &name : {u"imageisoV5.iso"_s, u"imageisoV6.iso"_s, u"readme.iso"_s})
            rig.pen.write(u"configure/"_s + name, "stale, newer, without a number");
        for (const QString &name : {u".quillo-part-00042_en.qnk"_s, u".hidden"_s})
            rig.pen.write(u"book/"_s + name, "half, somebody else's");
        rig.putTitle(u"00042_en"_s, 2); // its transfer breaks and is resumed
        rig.putTitle(u"00043_en"_s, 2); // asked for, and the server has no content of it
        rig.putTitle(u"00044_en"_s, 2); // is dropped in the window
        rig.putTitle(u"00045_en"_s, 2, false, false); // out of date and missing is one row
        rig.putTitle(u"00046_en"_s, 3, true, false);  // up to date
        rig.putTitle(u"00047_en"_s, 3);               // asked for anew
        rig.putTitle(u"00048_en"_s, 2);               // the server gives no answer
        rig.pen.write(u"book/00048_en.txt"_s, "Id: ../evil_en\nName: Old\nBook Version: 2\n");
        rig.pen.write(u"book/1_en.txt"_s, "Id: 00046_en\nBook Version: 2\n"); // no row for that
        rig.pen.write(u"book/00049_en.qnk"_s, "without metadata");
        rig.putTitle(u"00050_en"_s, 2, false); // unknown, without content
        rig.putTitle(u"00099_en"_s, 1);        // unknown
        rig.pen.write(u"book/00098_en.qnk"_s, "unknown");
        // Titles are compared from the newest to the oldest.
        const QDateTime now = QDateTime::currentDateTime();
        for (const QString &name : rig.pen.names(u"book"_s))
            setTime(u"book/"_s + name, now.addSecs(-60 * name.mid(3, 2).toInt()));
    }

    void serve()
    {
        QByteArrayList titles;
        QByteArrayList versions;
        for (int mid = 42; mid < 50; ++mid) {
            titles += UpdateRig::title(mid, "Titel " + QByteArray::number(mid));
            versions += "\"000" + QByteArray::number(mid) + "\":3";
        }
        rig.serveCatalogue({}, titles,
                           {UpdateRig::title(7, "Neu", "de"), titles.at(5), titles.at(1)});
        rig.server.serve("/versions", {.body = '{' + versions.join(',') + '}', .hold = gate});
        rig.server.serve("/log", {.hold = gate});
        for (const int mid : {44, 45, 47})
            rig.serveContent(mid, 3, content);
        rig.server.serveInTurn(UpdateRig::contentPath(42, 3),
                               {{.body = content},
                                {.body = content, .fault = Fault::Close, .faultAt = 200'000},
                                {.body = content, .hold = retry}});
        rig.server.serve(UpdateRig::contentPath(48, 3), Reply::closeBeforeHeader());
        for (const char *path : {"/files/7/45/45_en.png", "/files/7/46/46_en.png"})
            rig.server.serve(path, pngPicture(30, 40));
        rig.server.serve("/imageversion", {.body = "7", .hold = software});
        rig.server.serve("/software/imageisoV7.iso", "image");
    }

    /// Each line in the first stream that takes it; those of the first stream are left out.
    static void addStreams(GoldenTrace &trace, QStringList lines, qsizetype first, qsizetype end)
    {
        for (auto i = first; i < end; ++i) {
            const QRegularExpression expression(streams.at(i).lines);
            QStringList taken = lines.filter(expression);
            lines.removeIf([&](const QString &line) { return line.contains(expression); });
            if (streams.at(i).isSorted)
                taken.sort();
            if (i > 0)
                trace.add(streams.at(i).name, taken);
        }
    }
    [[nodiscard]] QStringList normalised(QStringList lines) const
    {
        lines.replaceInStrings(rig.server.address(""), u"http://server"_s);
        return lines.replaceInStrings(QRegularExpression(u"ERROR: \\( [^H].* \\)"_s), // a library's
                                      u"ERROR: ( ... )"_s);
    }
    [[nodiscard]] QStringList requests() const
    {
        QStringList lines;
        for (const FaultServer::Request &request : rig.server.requests())
            lines += QString::fromUtf8(request.method + ' ' + request.target + ' '
                                       + request.header("Content-Type") + ' ' + request.body
                                       + (request.hasHeader("Range") ? "the rest" : ""))
                         .simplified();
        return lines;
    }
    [[nodiscard]] static QStringList rows()
    {
        QStringList lines;
        for (const UpdateElement &row : std::as_const(updateElements())) {
            const CoverImage image = row.image.value_or(CoverImage());
            lines += row.title + u", "_s + name(row.updateFileType) + u", "_s
                     + rawValue(row.downloadType) + u", %1 bytes, "_s.arg(row.contentLength)
                     + row.updateURLString + u", "_s + image.path.section(u'/', -1)
                     + u" %1"_s.arg(image.size.width());
        }
        return lines;
    }
    [[nodiscard]] QStringList files() const
    {
        QStringList lines;
        for (const QString &folder : {u"book/"_s, u"configure/"_s}) {
            for (const QString &file : rig.pen.names(folder)) {
                const QByteArray bytes = rig.pen.read(folder + file);
                QString shown = QString::number(bytes.size());
                if (file.endsWith(u".txt"_s))
                    shown = QString::fromUtf8(bytes);
                else if (file.endsWith(u".png"_s))
                    shown = bytes == pngPicture() ? u"old"_s : u"new"_s;
                lines += folder + file + u": "_s + shown;
            }
        }
        return lines;
    }

    QStringList headlines;
    const std::shared_ptr<Gate> retry = std::make_shared<Gate>();
    const std::shared_ptr<Gate> software = std::make_shared<Gate>();
};

TEST_F(UpdateRunTrace, IsAsRecorded)
{
    fillPen();
    serve();
    CapturedOutput output;
    rig.service->updateAll();
    gate->open(); // nothing is answered before the run's first function has ended
    ASSERT_TRUE(
        QTest::qWaitFor([this] { return controller().phase() == RunPhase::AwaitingSoftware; }));
    software->open(); // and still comes first
    ASSERT_TRUE(retry->waitUntilReached());
    drop(u"44"_s);
    retry->open();
    ASSERT_TRUE(rig.waitForEnd());
    ASSERT_TRUE(QTest::qWaitFor([this] { return rig.loads >= 2; })) << "for the covers";
    ASSERT_TRUE(QTest::qWaitFor([this] { return rig.pen.read(u"configure/log.txt"_s).isEmpty(); }));
    GoldenTrace trace;
    addStreams(trace, normalised(logEntries() + output.lines()), 0, 9);
    addStreams(trace, requests(), 9, streams.size());
    trace.add(u"headlines"_s, headlines);
    trace.add(u"rows of %1 bytes, %2 of them loaded"_s.arg(totalBytesToDownload())
                  .arg(totalBytesDownloaded()),
              normalised(rows()));
    trace.add(u"the pen"_s, files());

    rig.pen.pullOut();
    QStringList printed;
    const QStringList logged =
        loggedBy([&] { printed = printedBy([&] { rig.service->updateAll(); }); });
    trace.add(u"without pen"_s, logged.filter(u"updateAll"_s) + printed);
    trace.expectAsIn(u"run.txt"_s);
}

} // namespace
