#include "library/EmptyState.h"

#include "library/LibraryLists.h"

EmptyStateView::Reason emptyReason(bool penAvailable)
{
    if (!penAvailable)
        return EmptyStateView::Reason::NoPen;
    const bool nothing = bookList().isEmpty() && gameList().isEmpty() && archiveList().isEmpty()
                         && learningMaterialList().isEmpty() && musicList().isEmpty();
    return nothing ? EmptyStateView::Reason::EmptyLibrary : EmptyStateView::Reason::EmptyCategory;
}
