#include "base/EmptyStateView.h"

#include "base/ContentPalette.h"
#include "base/FocusMark.h"
#include "base/ImageView.h"
#include "base/OverlayScrolling.h"

#include <QLabel>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

constexpr QSize imageSize(240, 180);
constexpr int hintWidth = 460;
constexpr int gap = 12;
constexpr qreal titleScale = 1.6;

QString keyStem(EmptyStateView::Reason reason)
{
    switch (reason) {
    case EmptyStateView::Reason::NoPen:
        return u"no_pen"_s;
    case EmptyStateView::Reason::EmptyLibrary:
        return u"empty_library"_s;
    case EmptyStateView::Reason::NoMusic:
        return u"no_music"_s;
    case EmptyStateView::Reason::ReadingMusic:
        return u"reading_music"_s;
    case EmptyStateView::Reason::NothingFound:
        return u"nothing_found"_s;
    case EmptyStateView::Reason::EmptyCategory:
        break;
    }
    return u"empty_category"_s;
}

QLabel *makeLabel(QWidget &parent)
{
    auto *label = new QLabel(&parent);
    label->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    label->setFixedWidth(hintWidth);
    return label;
}

void enlarge(QLabel &label)
{
    QFont font = label.font();
    font.setPointSizeF(font.pointSizeF() * titleScale);
    font.setBold(true);
    label.setFont(font);
}

} // namespace

EmptyStateView::EmptyStateView(Reason reason, QWidget *parent)
    : QScrollArea(parent)
    , m_reason(reason)
    , m_page(new QWidget)
    , m_image(new ImageView(m_page))
    , m_title(makeLabel(*m_page))
    , m_hint(makeLabel(*m_page))
{
    setPalette(contentPalette());
    setFrameShape(NoFrame);
    setWidgetResizable(true);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setOverlayScrolling(*this);
    m_image->setFixedSize(imageSize);
    enlarge(*m_title);
    layOut();
    setWidget(m_page);
    // What stands behind is seen.
    viewport()->setAutoFillBackground(false);
    m_page->setAutoFillBackground(false);
    new FocusMark(*this);
    showTexts();
}

void EmptyStateView::layOut()
{
    auto *layout = new QVBoxLayout(m_page);
    layout->setSpacing(gap);
    layout->addStretch(2);
    layout->addWidget(m_image, 0, Qt::AlignHCenter);
    layout->addWidget(m_title, 0, Qt::AlignHCenter);
    layout->addWidget(m_hint, 0, Qt::AlignHCenter);
    layout->addStretch(3);
}

void EmptyStateView::setReason(Reason reason)
{
    m_reason = reason;
    showTexts();
}

void EmptyStateView::showNothingFound(const QString &words)
{
    m_words = words;
    setReason(Reason::NothingFound);
}

void EmptyStateView::languageChanged()
{
    showTexts();
}

void EmptyStateView::showText(QLabel &label, const QString &text)
{
    label.setText(text);
    // A layout that centres its widgets does not ask for it.
    label.setFixedHeight(label.heightForWidth(hintWidth));
}

void EmptyStateView::showTexts()
{
    const QString stem = keyStem(m_reason);
    m_image->setImageName(m_reason == Reason::NoPen ? u"pen_missing"_s : u"empty_shelf"_s);
    showText(*m_title, localized(stem + u"_title"_s));
    const QString words =
        m_hint->fontMetrics().elidedText(m_words, Qt::ElideRight, hintWidth * 3 / 4);
    showText(*m_hint, localized(stem + u"_hint"_s).replace(u"%@"_s, words));
    setAccessibleName(m_title->text());
    setAccessibleDescription(m_hint->text());
}
