#pragma once

#include <QList>
#include <QObject>
#include <QString>

#include <functional>
#include <optional>

/// One mounted volume as the rest of the program sees it.
struct Volume
{
    QString name; ///< unique; the volume's address is file:///Volumes/<name>/
    QString path; ///< the folder where the system really shows it, without a trailing "/"

    friend bool operator==(const Volume &, const Volume &) = default;
};

/// The volumes mounted now, and when that changes. The back end is chosen once at start-up.
class VolumeSource : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    /// The mounted volumes but the root, in the system's order. Looked up anew by every call, never
    /// touches the volumes themselves, may be called from any thread.
    [[nodiscard]] virtual QList<Volume> volumes() const = 0;

    /// The mounted volume of that name; as volumes(), but cheaper where that matters.
    [[nodiscard]] virtual std::optional<Volume> volume(const QString &name) const;

    /// Unmounts the volume and makes it safe to pull. `done` is called once on the main thread with
    /// the error text, empty on success; it is not called when this object is gone before. It may
    /// take as long as writing to the medium does.
    /// Main thread only.
    virtual void unmount(const Volume &volume, std::function<void(const QString &error)> done) = 0;

Q_SIGNALS:
    void mounted(const QString &name);
    void unmounted(const QString &name);
};

/// Gives later volumes of the same name " 1", " 2" and so on behind it.
[[nodiscard]] QList<Volume> uniquelyNamed(QList<Volume> volumes);
