#pragma once

class QAbstractScrollArea;

/// Lets the vertical scroll bar lie over what it scrolls, so that it takes no width when it comes.
void setOverlayScrolling(QAbstractScrollArea &area);
