#pragma once

class QWidget;

/// Keeps a view at all four edges of its container, `constant` points in. Several children may be
/// pinned to one container, above each other. Prints a warning and does nothing when the view is
/// not one of the container's children.
void pinEdges(QWidget &child, QWidget &container, int constant = 0);

/// Shows one of the views that are pinned to a container above each other, and hides the others.
/// The keyboard stays in the container when it was there.
void showAlone(QWidget &child, QWidget &container);

/// Moves a window to the middle of its screen, made smaller where the screen is.
void centreOnScreen(QWidget &window);
