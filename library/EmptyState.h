#pragma once

#include "base/EmptyStateView.h"

/// Why an empty view of the library is empty, seen from the library lists.
[[nodiscard]] EmptyStateView::Reason emptyReason(bool penAvailable);
