#pragma once

class QWidget;

/// Keeps a view at all four edges of its container, `constant` points in. Several children may be
/// pinned to one container, above each other. Prints a warning and does nothing when the view is
/// not one of the container's children.
void pinEdges(QWidget &child, QWidget &container, int constant = 0);

/// Moves a window to the middle of its screen, made smaller where the screen is.
void centreOnScreen(QWidget &window);
