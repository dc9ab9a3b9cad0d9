#pragma once

#include <QByteArray>
#include <QSize>

struct DemoTitle;

/// A cover for the title as a PNG: a landscape with its name, the same for every call. Any thread,
/// once there is an application object for the fonts.
[[nodiscard]] QByteArray paintCover(const DemoTitle &title, const QSize &size);
