#pragma once

#include <QString>

#include <random>

enum class ElementType;

/// Whole numbers that depend on the seed alone, on every system.
class DemoRandom
{
public:
    explicit DemoRandom(quint32 seed)
        : m_engine(seed)
    {
    }

    /// 0 to `bound` - 1.
    [[nodiscard]] int below(int bound) { return int(m_engine() % quint32(bound)); }

private:
    std::mt19937 m_engine;
};

struct DemoPublisher
{
    int id;
    QString name;
};

/// An invented title of that kind; `language` is "de" or "en".
[[nodiscard]] QString inventedName(ElementType type, const QString &language, DemoRandom &random);
/// "Band 2" or "Part 2", for a name that is taken already.
[[nodiscard]] QString volumeSuffix(const QString &language, int volume);
[[nodiscard]] QString inventedAuthor(DemoRandom &random);
[[nodiscard]] DemoPublisher inventedPublisher(DemoRandom &random);
