#pragma once

#include "bench/PlainServer.h"

#include <QTemporaryDir>

/// The servers of an update run for a BenchPen, on loopback.
class BenchServer
{
public:
    /// The first `outdated` of `titles` titles have a newer version with contents of that size.
    BenchServer(int titles, int outdated, qsizetype contentBytes);

    /// The property list that leads the program here.
    [[nodiscard]] QString configuration() const;

    /// Until then no title is outdated.
    void publish();

private:
    [[nodiscard]] QByteArray versions(int outdated) const;
    [[nodiscard]] QByteArray medias() const;
    void serveContent(int title);
    void configure() const;

    const int m_titles;
    const int m_outdated;
    const QByteArray m_content;
    QTemporaryDir m_folder;
    PlainServer m_server;
};
