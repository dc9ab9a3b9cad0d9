#include "library/MusicView.h"

#include "base/Constants.h"
#include "base/EmptyStateView.h"
#include "base/ViewPlacement.h"
#include "library/ContentOwner.h"
#include "library/Deletion.h"
#include "library/EmptyState.h"
#include "library/LibraryLists.h"
#include "library/MusicController.h"

MusicView::MusicView(ContentOwner &viewController, QWidget *parent)
    : QWidget(parent)
    , list(new MusicController(viewController, this))
    , m_viewController(viewController)
    , m_empty(new EmptyStateView(EmptyStateView::Reason::NoMusic, this))
{
    pinEdges(*list, *this, Constants::listInset);
    pinEdges(*m_empty, *this);
    list->selectionChangeHandler = [this](const QList<int> &rows) {
        DeletionSelecting *selection = m_viewController.deletionSelection();
        if (selection && !rows.isEmpty())
            selection->clearSelectedElementIds();
    };
    languageChanged();
    libraryChanged();
}

void MusicView::languageChanged()
{
    list->languageChanged();
    m_empty->languageChanged();
}

void MusicView::libraryChanged()
{
    list->setMusic(musicList());
    m_empty->setReason(emptyMusicReason(m_viewController));
    showAlone(musicList().isEmpty() ? static_cast<QWidget &>(*m_empty) : *list, *this);
}
