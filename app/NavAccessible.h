#pragma once

/// Lets screen readers find the sidebar's categories as the items of its list, and no dividers
/// between them. Again does nothing.
void installNavAccessible();
