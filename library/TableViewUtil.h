#pragma once

class ColoredTableView;

/// What all lists look like.
class TableViewUtil
{
public:
    static constexpr int rowHeight = 52;
    static constexpr int imageColumnWidth = 60;

    /// To be called once the list has its model.
    static void style(ColoredTableView &table);

    /// Makes the list as tall as its rows, without scroll bars, for a page that scrolls.
    static void fitToRows(ColoredTableView &table);
};
