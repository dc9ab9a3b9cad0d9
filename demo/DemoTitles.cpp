#include "demo/DemoTitles.h"

#include "demo/DemoWords.h"

#include <QSet>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace {

constexpr int firstMid = 11;
constexpr int manyTitles = 60; // beyond, contents stay small so that the pen is made quickly

constexpr std::array kinds = {
    ElementType::Book,    ElementType::Game, ElementType::LearningMaterial,
    ElementType::Archive, ElementType::Book, ElementType::Book};

/// No number that begins with 9799 belongs to a real book: that range has not been given out.
QString inventedIsbn(int mid, DemoRandom &random)
{
    const QString twelve = u"9799"_s + QString::number(100 + random.below(900))
                           + QString::number(mid).rightJustified(5, u'0');
    return twelve + isbnCheckDigit(twelve);
}

QString freeName(DemoTitle &title, QSet<QString> &taken, DemoRandom &random)
{
    const QString name = inventedName(title.type, title.areaCode, random);
    QString candidate = name;
    while (taken.contains(candidate))
        candidate = name + volumeSuffix(title.areaCode, ++title.volume);
    taken.insert(candidate);
    return candidate;
}

DemoTitle inventTitle(int index, int mid, bool small, QSet<QString> &taken, DemoRandom &random)
{
    DemoTitle title;
    title.mid = mid;
    title.type = kinds[size_t(index) % kinds.size()];
    title.areaCode = random.below(2) == 0 ? u"de"_s : u"en"_s;
    title.name = freeName(title, taken, random);
    title.author = inventedAuthor(random);
    const DemoPublisher publisher = inventedPublisher(random);
    title.publisherId = publisher.id;
    title.publisher = publisher.name;
    title.isbn = inventedIsbn(mid, random);
    title.version = 2 + random.below(4);
    title.contentBytes = small ? 4000 + random.below(12000) : 200000 + random.below(1800000);
    return title;
}

} // namespace

QString DemoTitle::id() const
{
    return makeElementId(QString::number(mid), areaCode);
}

BaseElement DemoTitle::record(int bookVersion) const
{
    BaseElement element;
    element.id = id();
    element.name = name;
    element.publisher = publisher;
    element.author = author;
    element.bookAreaCode = areaCode;
    element.isbn = isbn;
    element.type = type;
    element.bookVersion = bookVersion;
    return element;
}

QChar isbnCheckDigit(const QString &twelveDigits)
{
    int sum = 0;
    for (qsizetype i = 0; i < twelveDigits.size(); ++i)
        sum += twelveDigits.at(i).digitValue() * (i % 2 == 0 ? 1 : 3);
    return QChar(u'0' + (10 - sum % 10) % 10);
}

QList<DemoTitle> inventTitles(quint32 seed, int count)
{
    DemoRandom random(seed);
    QSet<QString> taken;
    const int step = std::clamp(9000 / std::max(1, count), 1, 37);
    QList<DemoTitle> titles;
    titles.reserve(count);
    for (int i = 0; i < count; ++i) {
        const int mid = firstMid + i * step + random.below(step);
        titles += inventTitle(i, mid, count > manyTitles, taken, random);
    }
    return titles;
}
