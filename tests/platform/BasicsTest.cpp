#include "platform/Address.h"
#include "platform/Dispatch.h"
#include "platform/NotificationCenter.h"
#include "platform/StandardOutput.h"
#include "tests/support/Traces.h"

#include <QTemporaryFile>
#include <QTest>
#include <QTimer>

#include <thread>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

TEST(QueryEncoding, KeepsWhatAQueryAllows)
{
    const QString allowed = u"AZaz09!$&'()*+,-./:;=?@_~"_s;
    EXPECT_EQ(percentEncodedForQuery(allowed), allowed);
    EXPECT_EQ(percentEncodedForQuery(u" \"#%<>[]\\^`{|}"_s),
              u"%20%22%23%25%3C%3E%5B%5D%5C%5E%60%7B%7C%7D"_s);
    EXPECT_EQ(percentEncodedForQuery(u"ä€🐻\n"_s), u"%C3%A4%E2%82%AC%F0%9F%90%BB%0A"_s);
    EXPECT_EQ(percentEncodedForQuery(u"a"_s + QChar(u'\0')), u"a%00"_s);
    EXPECT_EQ(percentEncodedForQuery(QString(QChar(0xd83d))), std::nullopt);
}

TEST(Addresses, AreParsedStrictly)
{
    for (const QString &text : {u"http://a/b?c=\"d\""_s, u"http://a b/"_s, u"http://a/b\n"_s, u""_s,
                                u"http://[1/"_s, u"http://a/%zz"_s, u"http://a:99999/"_s})
        EXPECT_EQ(makeURL(text), std::nullopt) << qPrintable(text);
    for (const QString &text : {u"http://a/b%20c?mids=%2242%22"_s, u"https://a:8443/x"_s})
        EXPECT_EQ(makeURL(text).value_or(QUrl()).toString(QUrl::FullyEncoded), text);
}

TEST(StandardOutput, ShowsDebugLinesQuotedAndIsWrittenOutWhenTheEventLoopRests)
{
    EXPECT_EQ(printedBy([] {
                  print(u"plain \"Größe\""_s);
                  debugPrint(u"a\"b\\c\nd\re\tf\u0007ä"_s + QChar(u'\0'));
                  debugPrint({});
              }),
              QStringList({u"plain \"Größe\""_s, u"\"a\\\"b\\\\c\\nd\\re\\tf\\u{0007}ä\\0\""_s,
                           u"\"\""_s}));
    EXPECT_EQ(debugDescription(QStringList({u"/"_s, u"a\"b"_s})), u"[\"/\", \"a\\\"b\"]"_s);
    QTemporaryFile file;
    ASSERT_TRUE(file.open() && printTo(file.fileName()));
    print(u"line"_s);
    QTimer::singleShot(1ms, qApp, &QCoreApplication::quit);
    QCoreApplication::exec();
    EXPECT_EQ(file.readAll(), "line\n");
    EXPECT_FALSE(printTo(u"/no/such/file"_s));
    EXPECT_TRUE(printTo(u"/dev/stdout"_s));
}

TEST(NotificationCenter, TellsObserversInOrderWhileTheyLive)
{
    NotificationCenter center;
    QStringList told;
    QObject first;
    auto second = std::make_unique<QObject>();
    const auto note = [&told](const QString &who) {
        return [&told, who](const QVariantMap &info) {
            told += who + info.value(u"k"_s).toString();
        };
    };
    center.addObserver(u"n"_s, &first, note(u"a"_s));
    center.addObserver(u"n"_s, &first, [&](const QVariantMap &) { second.reset(); });
    center.addObserver(u"n"_s, second.get(), note(u"b"_s));
    center.addObserver(u"other"_s, &first, note(u"c"_s));
    center.addObserver(u"n"_s, &first, [&](const QVariantMap &) {
        center.addObserver(u"n"_s, &first, note(u"late"_s));
    });
    center.post(u"n"_s, {{u"k"_s, 1}});
    EXPECT_EQ(told, QStringList(u"a1"_s));
    center.post(u"n"_s);
    EXPECT_EQ(told, QStringList({u"a1"_s, u"a"_s, u"late"_s}));
}

TEST(Dispatch, RunsOnTheMainThreadInOrderUnlessTheGuardIsGone)
{
    QObject guard;
    auto gone = std::make_unique<QObject>();
    QList<int> ran;
    const QPointer<QObject> there(&guard);
    const QPointer<QObject> notThere(gone.get());
    std::jthread([&ran, there, notThere] {
        Dispatch::main(there, [&ran] { ran += Dispatch::isMainThread() ? 1 : -1; });
        Dispatch::main(notThere, [&ran] { ran += 2; });
        Dispatch::main(there, [&ran] { ran += 3; });
    }).join();
    Dispatch::mainAfter(1ms, gone.get(), [&ran] { ran += 4; });
    Dispatch::mainAfter(2ms, &guard, [&ran] { ran += 5; });
    EXPECT_TRUE(ran.isEmpty());
    gone.reset();
    ASSERT_TRUE(QTest::qWaitFor([&ran] { return ran.size() == 3; }));
    EXPECT_EQ(ran, QList({1, 3, 5}));
}

TEST(DispatchGroup, NotifiesOnceWhenEverybodyHasLeftUnlessTheGuardIsGone)
{
    QObject guard;
    int notified = 0;
    DispatchGroup group;
    for (int i = 0; i < 50; ++i) {
        group.enter();
        Dispatch::global([group]() mutable {
            EXPECT_FALSE(Dispatch::isMainThread());
            group.leave();
        });
    }
    group.enter();
    group.notify(&guard, [&notified] { ++notified; });
    Dispatch::waitForGlobalWork();
    QCoreApplication::processEvents();
    EXPECT_EQ(notified, 0);
    group.leave();
    ASSERT_TRUE(QTest::qWaitFor([&notified] { return notified == 1; }));
    group.enter();
    group.leave();
    DispatchGroup().notify(std::make_unique<QObject>().get(), [&notified] { notified += 10; });
    DispatchGroup().notify(&guard, [&notified] { ++notified; }); // empty from the start
    ASSERT_TRUE(QTest::qWaitFor([&notified] { return notified > 1; }));
    EXPECT_EQ(notified, 2);
}
