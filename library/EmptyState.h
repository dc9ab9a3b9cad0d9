#pragma once

#include "base/EmptyStateView.h"

class ContentOwner;

/// Why an empty view of the library is empty, seen from the library lists.
[[nodiscard]] EmptyStateView::Reason emptyReason(bool penAvailable);
/// The same for music.
[[nodiscard]] EmptyStateView::Reason emptyMusicReason(const ContentOwner &owner);
