#pragma once

#include "base/Localization.h"
#include "library/LibraryViewing.h"

#include <QWidget>

class ContentOwner;
class EmptyStateView;
class MusicController;

/// The music on the pen as a category of its own: its list, or that there is none, or that it is
/// still being read. Whoever selects music gives up the choice of titles.
class MusicView : public QWidget, public LanguageHandling, public LibraryViewing
{
    Q_OBJECT

public:
    explicit MusicView(ContentOwner &viewController, QWidget *parent = nullptr);

    void languageChanged() override;
    void libraryChanged() override;

    MusicController *list;

private:
    ContentOwner &m_viewController;
    EmptyStateView *m_empty;
};
