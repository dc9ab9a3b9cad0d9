#pragma once

/// What the update run and its window need of the main window. Main thread only.
class LibraryReloading
{
public:
    virtual ~LibraryReloading() = default;

    /// Loads music and titles from the pen into the library lists.
    virtual void loadData() = 0;
    virtual void showBooksView() = 0;
};
