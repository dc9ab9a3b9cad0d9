#include "sync/ElementUpdateService.h"

#include "download/DownloadFileService.h"
#include "platform/FileManager.h"
#include "platform/SharedSession.h"
#include "platform/URLSession.h"
#include "sync/LogPostService.h"
#include "sync/PenTitles.h"
#include "sync/UpdatePlanner.h"
#include "sync/VersionService.h"
#include "tests/support/Rows.h"
#include "tests/support/Traces.h"
#include "tests/support/UpdateRig.h"

#include <QTest>
#include <QThread>

#include <future>

using namespace Qt::StringLiterals;

namespace {

/// Requests a stop when another thread, as the one that writes is, goes to the pen that often.
class StoppingVolumes : public FolderVolumes
{
public:
    explicit StoppingVolumes(const QString &folder, int looks = 1)
        : FolderVolumes(folder)
        , m_looks(looks)
    {
    }

    [[nodiscard]] std::optional<Volume> volume(const QString &name) const override
    {
        if (QThread::currentThread() != thread() && --m_looks == 0)
            stop.request_stop();
        return FolderVolumes::volume(name);
    }

    mutable std::stop_source stop;

private:
    mutable int m_looks;
};

class ElementUpdate : public testing::Test
{
protected:
    /// Stopped when a request stands at `gate`, which then opens.
    std::optional<bool> checkSoftware(const std::shared_ptr<FaultServer::Gate> &gate = {})
    {
        DownloadFileService transfers;
        VersionService service(transfers, PenPlaces::look().value());
        std::optional<bool> needed;
        std::stop_source stop;
        service.perform([&needed](bool answer) { needed = answer; }, stop.get_token());
        if (gate && gate->waitUntilReached()) {
            stop.request_stop();
            gate->open();
        }
        EXPECT_TRUE(QTest::qWaitFor([&needed] { return needed.has_value(); }, 10'000));
        return needed;
    }

    UpdateRig rig;
};

TEST_F(ElementUpdate, ThePensListsGiveTheirValuesLineByLine)
{
    struct Row
    {
        const char *name;
        QByteArray requests;
        QStringList mids; ///< the first of each line
        QByteArray log;
        QStringList values; ///< of each line
    };
    forEachRow<Row>(
        {{"EachLine",
          "xMID=1 MID=2\r\nMID=\nMID=1\n",
          {u"1"_s, u"1"_s},
          "MID=12\nMID=12\na=b=c\nnothing\nMID=\nMID= \n",
          {u"12"_s, u"12"_s, u"b"_s}},
         {"NoUtf8", "MID=12\n\xff\xfe", {}, "MID=1\n\xff", {}},
         {"Nuls",
          QByteArray("M\0ID=1\nMID=2\0", 14),
          {u"2"_s},
          QByteArray("M=1\0002\nM=\0\n", 11),
          {u"12"_s, QString()}},
         {"DigitsOnly", "mid=1\nMID= 2\nMID=-3\nMID=MID=5\nMID=\xd9\xa4", {u"5"_s}, {}, {}}},
        [this](const Row &row) {
            rig.pen.write(u"configure/tbd.txt"_s, row.requests);
            rig.pen.write(u"configure/log.txt"_s, row.log);
            EXPECT_EQ(ElementUpdateService::readTbdMids(), row.mids);
            EXPECT_EQ(LogPostService::getLogMids(), row.values);
        });
    rig.pen.write(u"configure/log.txt"_s, "MID=12\n");
    rig.pen.remove(u"configure/tbd.txt"_s);
    rig.pen.write(u"configure/settings.ini"_s, "");
    EXPECT_TRUE(ElementUpdateService::readTbdMids().isEmpty());
    EXPECT_TRUE(LogPostService::getLogMids().isEmpty()) << "a volume that is no pen";
}

TEST_F(ElementUpdate, StoppedWhileItWritesItWritesNoMore)
{
    const QByteArray seven = UpdateRig::title(7, "Sieben");
    for (const QList<QByteArray> &requested :
         {{seven}, QList{seven, UpdateRig::title(8, "Acht")}}) {
        SCOPED_TRACE(requested.size());
        rig.pen.write(u"configure/tbd.txt"_s, "MID=7\n");
        rig.serveCatalogue(R"({"00007":1,"00008":1})", {}, requested);
        StoppingVolumes volumes(rig.pen.volumes(), 4); // while it stores the first
        FileManager::setVolumeSource(&volumes);
        ElementUpdateService::fetchAllElementsFromMediaServer(
            PenPlaces::look().value(), true, volumes.stop.get_token(),
            [](const Catalogue &) { ADD_FAILURE(); });
        EXPECT_TRUE(QTest::qWaitFor([&] { return volumes.stop.stop_requested(); }));
        endSharedSession(); // waits for what is being written
        FileManager::setVolumeSource(&rig.volumes);
        EXPECT_EQ(rig.pen.read(u"configure/tbd.txt"_s), "MID=7\n");
        EXPECT_TRUE(rig.pen.exists(u"book/00007_en.txt"_s));
        EXPECT_FALSE(rig.pen.exists(u"book/00008_en.txt"_s));
        rig.pen.remove(u"book/00007_en.txt"_s);
    }
}

TEST_F(ElementUpdate, PlanningEndsWhereItIsStopped)
{
    QByteArrayList titles;
    for (int mid = 50; mid < 56; ++mid)
        titles += UpdateRig::title(mid, "New");
    const ElementList records = BaseElement::elementsFromServer(
        '[' + titles.join(',') + ']',
        R"([{"00050":3,"00051":3,"00052":3,"00053":3,"00054":3,"00055":3}])");
    bool isWhole = false;
    for (int looks = 1; looks < 40 && !isWhole; ++looks) {
        SCOPED_TRACE(looks);
        const PenFolder pen;
        StoppingVolumes volumes(pen.volumes(), looks);
        FileManager::setVolumeSource(&volumes);
        for (const char *name : {"51_en.txt", "52_en.txt", "53_en.txt", "51_en.qnk", "52_en.qnk",
                                 "54_en.qnk", "55_en.qnk"})
            pen.write(u"book/000"_s + QString::fromLatin1(name), "Name: Old\n");
        const auto newTexts = [&pen] {
            QByteArray texts;
            for (const QString &name : pen.names(u"book"_s))
                texts += pen.read(u"book/"_s + name);
            return texts.count("Name: New");
        };
        int lateRows = 0;
        PlanningTask task{*PenPlaces::look()};
        task.remoteMedias = records;
        for (const int title : {1, 2, 0}) {
            task.localMedias += std::make_shared<BaseElement>(*records.at(title));
            task.localMedias.last()->bookVersion = title == 0 ? 2 : 3;
        }
        task.askedAnew = QStringList{u"00052_en"_s};
        task.stop = volumes.stop.get_token();
        task.queueRow = [&](const UpdateElement &) {
            lateRows += volumes.stop.stop_requested() ? 1 : 0;
        };
        qsizetype textsAtStop = -1;
        std::stop_callback count(volumes.stop.get_token(), [&] { textsAtStop = newTexts(); });
        bool isFinished = false;
        std::promise<void> ended;
        sharedSession().async([&, planner = std::make_shared<UpdatePlanner>(task)] {
            planner->run([&isFinished] { isFinished = true; });
            ended.set_value();
        });
        ended.get_future().wait();
        isWhole = !volumes.stop.stop_requested();
        EXPECT_EQ(isFinished, isWhole);
        EXPECT_EQ(lateRows, 0);
        EXPECT_LE(newTexts(), isWhole ? 4 : textsAtStop + 1) << "what was being written";
    }
    EXPECT_TRUE(isWhole);
    FileManager::setVolumeSource(&rig.volumes);
}

TEST_F(ElementUpdate, TheSoftwareCheckComparesAndAlwaysEnds)
{
    struct Row
    {
        const char *name;
        FaultServer::Reply version;
        bool needed;
    };
    for (const char *file : {"imageisoV2.iso", "firmwareV2.bin"})
        rig.server.serve(QByteArray("/software/") + file, "image");
    for (const char *address : {"/imageversion", "/firmwareversion"}) {
        SCOPED_TRACE(address);
        forEachRow<Row>({{"Newer", {.body = "2"}, true},
                         {"Equal", {.body = "1"}, false},
                         {"TrailingNewline", {.body = "7\n"}, false},
                         {"NoUtf8", {.body = "\xff"}, false},
                         {"ErrorPage", {.status = 500, .body = "9"}, false},
                         {"NoAnswer", FaultServer::Reply::closeBeforeHeader(), false}},
                        [&](const Row &row) {
                            rig.server.serve(address, row.version);
                            EXPECT_EQ(checkSoftware(), row.needed);
                            EXPECT_EQ(updateElements().size(), row.needed ? 1 : 0);
                            updateElements().clear();
                        });
        rig.server.serve(address, "1");
    }
    // Versions missing in the settings are below all; a file without a size is not queued.
    rig.pen.write(u"configure/settings.ini"_s, "firmwareVersion=\t7\r\nlanguage=de\n");
    rig.server.serve("/imageversion", "0");
    rig.server.serve("/firmwareversion", "7");
    EXPECT_EQ(checkSoftware(), true);
    EXPECT_TRUE(updateElements().isEmpty());
    const auto gate = std::make_shared<FaultServer::Gate>();
    rig.server.serve("/imageversion", "2");
    rig.server.serve("/software/imageisoV2.iso", {.body = "image", .hold = gate});
    EXPECT_EQ(checkSoftware(gate), true);
    EXPECT_TRUE(updateElements().isEmpty()) << "sized too late";
}

} // namespace
