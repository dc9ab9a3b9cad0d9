#include "library/EmptyState.h"

#include "library/ContentOwner.h"
#include "library/LibraryLists.h"

EmptyStateView::Reason emptyReason(bool penAvailable)
{
    if (!penAvailable)
        return EmptyStateView::Reason::NoPen;
    const bool nothing = bookList().isEmpty() && gameList().isEmpty() && archiveList().isEmpty()
                         && learningMaterialList().isEmpty() && musicList().isEmpty();
    return nothing ? EmptyStateView::Reason::EmptyLibrary : EmptyStateView::Reason::EmptyCategory;
}

EmptyStateView::Reason emptyMusicReason(const ContentOwner &owner)
{
    if (!owner.isQuilloAvailable())
        return EmptyStateView::Reason::NoPen;
    return owner.isReadingMusic() ? EmptyStateView::Reason::ReadingMusic
                                  : EmptyStateView::Reason::NoMusic;
}
