#pragma once

#include "library/Deletion.h"
#include "library/LibraryViewing.h"
#include "library/ListController.h"
#include "library/MusicController.h"
#include "library/TitlesPage.h"

#include <array>
#include <optional>

class EmptyStateView;
class ContentOwner;
class QLabel;

/// All titles and the music, or what was found among them, list below list on one scrolling page.
/// Rows are selected in one section at a time.
class MyQuilloTitlesController : public QWidget,
                                 public DeletionHandling,
                                 public LanguageHandling,
                                 public LibraryViewing
{
    Q_OBJECT

public:
    /// Empty until one of the operations below.
    explicit MyQuilloTitlesController(ContentOwner &viewController, QWidget *parent = nullptr);
    ~MyQuilloTitlesController() override;

    /// The whole library, followed when it changes.
    void showLibrary();
    /// What the lists of found titles hold for these words, which are searched for again when the
    /// library changes.
    void showFound(const QString &words);
    /// What was searched for; none on the page of all titles.
    [[nodiscard]] const std::optional<QString> &words() const { return m_words; }
    using QWidget::show;
    /// These titles and files, also when the library changes.
    void show(const ElementList &books, const ElementList &games,
              const ElementList &learningMaterials, const ElementList &archives,
              const MusicList &music);

    /// Where a page stands: how far it is scrolled, and the row from which the keyboard goes on.
    struct Standing
    {
        int scrollPosition = 0;
        size_t section = 0;
        int row = -1; ///< none
    };
    [[nodiscard]] Standing standing() const;
    /// Takes the place of a page that stood so; at once or when it is shown. Where it had more
    /// rows, the last one stands for them.
    void setStanding(const Standing &standing);

    [[nodiscard]] QStringList markedIds() const override;
    void markChoice() override;
    bool takeFocus() override;
    void willDelete(const QStringList &ids) override;
    void didDelete() override;
    /// The list with the selection, else the first.
    [[nodiscard]] QTableView *listTable() override;
    void languageChanged() override;
    void libraryChanged() override;

    [[nodiscard]] QVBoxLayout *stackview() const { return m_page->stackview; }
    MyQuillyBooksController *myQuilloBooksController;
    MyGamesController *myGamesController;
    MyLearningMaterialsController *myLearningMaterialsController;
    MyArchivesController *myArchiveController;
    MusicController *musicController;

    QLabel *booksHeader = nullptr; ///< this and the others: null while the section is left out
    QLabel *gamesHeader = nullptr;
    QLabel *learningMaterialHeader = nullptr;
    QLabel *archivesHeader = nullptr;
    QLabel *musicHeader = nullptr;

protected:
    void showEvent(QShowEvent *event) override;

private:
    void buildSections();
    void setContents(const std::array<ElementList, 4> &titles, const MusicList &music);
    void selectionChanged(const TitlesSection &section, const QList<int> &rows);
    void provideSelection(const TitlesSection &section, const QList<int> &rows);
    void rowChanged(const TitlesSection &section);
    void showEmptiness();
    void updateAccessibleName();
    [[nodiscard]] QWidget *keyboardList() const;
    void standNextTo(size_t section);
    void showMarked();
    void showRow(const TitlesSection &section, int row);
    void scrollAsWanted();
    [[nodiscard]] QWidget *runningSlide() const;
    void rebuild();

    ContentOwner &m_viewController;
    TitlesPage *m_page;
    EmptyStateView *m_empty;
    std::array<TitlesSection, 5> m_sections;
    size_t m_keyboardSection = 0;        ///< where a row was gone to last
    std::optional<int> m_scrollPosition; ///< taken when the page is shown
    bool m_followsLibrary = true;
    std::optional<QString> m_words;
    bool m_quiet = false;
};
