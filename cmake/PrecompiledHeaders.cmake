# What many files include, read once a target. A file still includes all that it uses itself: with
# CMAKE_DISABLE_PRECOMPILE_HEADERS=ON everything is built without these.
set(quillo_core_headers
    <QByteArray> <QCoreApplication> <QDateTime> <QDir> <QFile> <QFileInfo> <QHash> <QJsonArray>
    <QJsonDocument> <QJsonObject> <QList> <QMap> <QObject> <QPointer> <QRegularExpression> <QSet>
    <QString> <QStringList> <QThread> <QTimer> <QUrl> <QVariant>
    <algorithm> <array> <atomic> <chrono> <functional> <map> <memory> <mutex> <optional>
    <stop_token> <string> <thread> <utility> <vector>)

set(quillo_gui_headers
    ${quillo_core_headers}
    <QAbstractTableModel> <QApplication> <QBoxLayout> <QHeaderView> <QIcon> <QImage>
    <QKeyEvent> <QLabel> <QPainter> <QProgressBar> <QPushButton> <QScrollArea> <QScrollBar>
    <QStyledItemDelegate> <QTableView> <QToolButton> <QWidget>)

set(quillo_test_headers
    ${quillo_gui_headers}
    <QBuffer> <QProcess> <QSignalSpy> <QStandardPaths> <QTemporaryDir> <QTest>
    <gmock/gmock.h> <gtest/gtest.h>)
