#pragma once

/// Adopted by the content controllers that show the library lists.
class LibraryViewing
{
public:
    virtual ~LibraryViewing() = default;

    /// The lists have been filled anew; what is chosen and where it is scrolled to stays as far as
    /// the titles are still there.
    virtual void libraryChanged() = 0;
};
