#pragma once

struct UpdateElement;

/// What the download window needs to have its rows loaded. Main thread only.
class RowLoading
{
public:
    virtual ~RowLoading() = default;

    /// Begins to load the row's file. One that cannot be loaded fails, and the queue goes on.
    virtual void loadRow(const UpdateElement &row) = 0;
    /// Gives up whatever is on its way; nothing of it starts any more.
    virtual void cancelAllRows() = 0;
};
