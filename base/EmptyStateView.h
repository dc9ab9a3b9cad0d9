#pragma once

#include "base/Localization.h"

#include <QScrollArea>

class ImageView;
class QLabel;

/// Stands where there is nothing to show: a picture, what is missing, and what to do about it. It
/// takes the keyboard, and scrolls where there is little room.
class EmptyStateView : public QScrollArea, public LanguageHandling
{
    Q_OBJECT

public:
    enum class Reason { NoPen, EmptyLibrary, EmptyCategory, NoMusic, ReadingMusic, NothingFound };

    explicit EmptyStateView(Reason reason = Reason::EmptyCategory, QWidget *parent = nullptr);

    void setReason(Reason reason);
    [[nodiscard]] Reason reason() const { return m_reason; }

    /// Tells that nothing was found for these words, whatever they are and as much of them as has
    /// room.
    void showNothingFound(const QString &words);

    void languageChanged() override;

private:
    static void showText(QLabel &label, const QString &text);
    void layOut();
    void showTexts();

    Reason m_reason;
    QString m_words; ///< searched for
    QWidget *m_page;
    ImageView *m_image;
    QLabel *m_title;
    QLabel *m_hint;
};
