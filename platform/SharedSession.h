#pragma once

class URLSession;

/// The one session for requests that belong to no transfer service. Made on first use, gone with
/// the application object. Any thread.
[[nodiscard]] URLSession &sharedSession();

/// Ends it early, before what its callbacks use goes. Main thread.
void endSharedSession();
