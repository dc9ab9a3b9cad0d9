#pragma once

#include "library/BaseElement.h"
#include "library/DownloadQueue.h"
#include "pen/PenPlaces.h"

#include <QObject>
#include <QSet>
#include <QStringList>
#include <QTimer>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>

class DispatchGroup;
class DownloadFileService;
class DownloadWindowController;
class KeptDownloads;
class LibraryReloading;
class RowLoader;
struct PlanningTask;

/// One update of the pen against the servers: what it lacks is planned, sized and loaded row by
/// row. Made for a run and gone with it: what is then still on its way starts and writes nothing.
/// How far it is, its window knows. Main thread only; planning works on the shared session's thread
/// with copies of its own.
class UpdateRun : public QObject
{
    Q_OBJECT

public:
    /// All objects must outlive the run.
    struct Surroundings
    {
        DownloadWindowController &window;
        LibraryReloading &viewController;
        KeptDownloads &kept;
        QObject &retired; ///< takes over the transfer service when the run goes
        PenPlaces pen;
        std::chrono::milliseconds softwarePatience; ///< of planned rows
    };

    explicit UpdateRun(const Surroundings &surroundings);
    ~UpdateRun() override;

    /// Begins the check of the system software.
    void checkSoftware();
    /// Begins to ask the media server, with what stands on the pen now.
    void fetchCatalogue();

    /// Nothing of it reaches the pen any more; its window says how it ended.
    void stop();
    [[nodiscard]] bool isUnderWay() const;

    /// What is planned of these titles is not loaded.
    void titlesDeleted(const QStringList &elementIds);
    /// Runs `done` on a thread of its own once nothing that was stopped is open on the pen.
    void whenAtRest(std::function<void()> done);

Q_SIGNALS:
    /// The run has come to its end, whichever.
    void ended();

private:
    void softwareChecked();
    [[nodiscard]] ElementList readLocalMedias() const;
    [[nodiscard]] PlanningTask planningTask(const ElementList &localMedias);
    /// As work of another thread hands it over: dropped once the run is stopped or gone.
    template <class Value>
    [[nodiscard]] std::function<void(const Value &)>
    onMainThread(void (UpdateRun::*take)(const Value &));
    void keepRecords(const ElementList &records);
    void queueRow(const UpdateElement &row);
    void coverCame(const QString &elementId);
    void planned(const QString &result);
    void startDownloads();
    void showDownloadWindow();
    void triggerElementDownloads();
    void sizeRows(qsizetype first);
    void sizeRow(qsizetype index, DispatchGroup group);
    void rowsEnded();
    /// Starts rows that came after the run had gone through all others; false when there are none.
    bool startLateRows();

    const Surroundings m_surroundings;
    DownloadWindowController &m_window;
    std::unique_ptr<DownloadFileService> m_downloadFileService;
    std::unique_ptr<RowLoader> m_rowLoader;
    std::stop_source m_stop;
    std::optional<bool> m_needsSoftwareUpdate; ///< absent until it is checked
    QString m_result;                          ///< of the catalogue
    QSet<QString> m_queuedContents;
    QSet<QString> m_deletedTitles;      ///< since the run began
    QList<UpdateElement> m_plannedRows; ///< until the software's rows stand before them
    QTimer m_softwareWait;              ///< how long planned rows wait for them
    QTimer m_coversSettle;
};
