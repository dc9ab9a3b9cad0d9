#pragma once

#include <QString>

struct FileFailure;

/// What the download window shows of a run, worked out from numbers alone.
struct DownloadPresentation
{
    QString headline;
    QString step;   ///< such as "42 %", as the language writes it
    double bar = 0; ///< 0 to 100
    QString image;  ///< name of the pen picture
    bool okEnabled = false;
    bool cancelEnabled = true;
};

/// The rows of a queue as the headline counts them.
struct QueueCounts
{
    int systemSoftware = 0; ///< rows of kind iso or bin
    int medias = 0;         ///< rows of kind qnk
    int index = 0;          ///< the row being worked on
};

/// The headline sentence in the current language.
[[nodiscard]] QString downloadHeadline(const QueueCounts &counts);

/// Why files could not be stored on the pen and what to do, in the current language.
[[nodiscard]] QString storingHeadline(const FileFailure &failure);

/// 0.6 x download + 0.4 x copy, held between 0 and 99.9: only completion shows 100.
[[nodiscard]] double shownProgress(double downloadPercentage, double copyPercentage);

/// The pen picture for a shown value.
[[nodiscard]] QString progressImageName(double shown);
