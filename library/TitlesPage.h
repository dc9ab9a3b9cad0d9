#pragma once

#include <QScrollArea>
#include <QString>

#include <span>

class ListController;
class QLabel;
class QVBoxLayout;
class TableController;

/// One section of the titles overview: its key, list and header.
struct TitlesSection
{
    QString key;
    TableController *list = nullptr;
    ListController *titles = nullptr; ///< the list; null for the music
    QLabel **header = nullptr;        ///< null while the section is left out

    [[nodiscard]] int rowCount() const;
};

/// The scrolling page of the titles overview, on which lists as tall as their rows stand below each
/// other. Main thread only.
class TitlesPage : public QScrollArea
{
    Q_OBJECT

public:
    explicit TitlesPage(QWidget *parent = nullptr);

    /// Puts the section below those placed before it; an empty one is left out.
    void placeSection(const TitlesSection &section);
    /// Gives everything its place at once, in the page's present width.
    void layOut();
    void showRow(const TitlesSection &section, int row);

    /// The topmost title that is seen, and how far its top is below the page's visible top.
    struct Place
    {
        const TitlesSection *section = nullptr;
        QString id;
        int below = 0;
        int value = 0; ///< of the scroll bar
    };
    [[nodiscard]] Place place(std::span<const TitlesSection> sections) const;
    /// Scrolls so that the title stands there again, wherever it is now.
    void restore(const Place &place);
    [[nodiscard]] int scrollPosition() const;
    void setScrollPosition(int position);

    QVBoxLayout *stackview; ///< headers and lists

protected:
    /// Leaves it to the lists which of their rows is brought into view.
    bool focusNextPrevChild(bool next) override;

private:
    [[nodiscard]] int rowTop(const TitlesSection &section, int row) const;
};
