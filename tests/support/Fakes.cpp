#include "support/Fakes.h"

namespace qm::test {

int ScriptedPrompts::messageBox(const QString &text, int style, const QString &title)
{
    shown.push_back({text, style, title});
    if (beforeAnswer)
        beforeAnswer();
    if ((style & 0xF) == box::ok)
        return box::idOk;
    if (answers.empty()) {
        QTest::qFail(qPrintable(QStringLiteral("unexpected question: ") + text), __FILE__, __LINE__);
        return box::idCancel;
    }
    const int answer = answers.front();
    answers.pop_front();
    return answer;
}

std::optional<QString> ScriptedPrompts::nextFile()
{
    if (files.empty()) {
        QTest::qFail("unexpected file dialog", __FILE__, __LINE__);
        return std::nullopt;
    }
    std::optional<QString> file;
    file.swap(files.front());
    files.pop_front();
    return file;
}

void ScriptedPrompts::finish() const
{
    QVERIFY2(answers.empty(), "an answer was scripted that nothing asked for");
    QVERIFY2(files.empty(), "a file was scripted that nothing asked for");
}

std::chrono::system_clock::time_point FakeClock::now() const
{
    static const QDate epoch(1970, 1, 1);
    return std::chrono::system_clock::time_point(std::chrono::seconds(m_wall.secondsSince({epoch, 0})));
}

void FakeClock::advance(std::chrono::seconds by)
{
    const auto total = m_wall.secondOfDay + by.count();
    const auto days = total >= 0 ? total / 86400 : -((86399 - total) / 86400);
    m_wall = {m_wall.date.addDays(days), static_cast<int>(total - days * 86400)};
}

} // namespace qm::test
