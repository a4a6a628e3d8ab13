/// \file
/// Fakes for what a test cannot have for real: the operator's answers and the time.
#pragma once

#include "core/Clock.h"
#include "core/HelpViewer.h"
#include "core/Prompts.h"
#include "core/WorkAtHand.h"

#include <QtTest>

#include <deque>
#include <functional>
#include <vector>

namespace qm::test {

/// Answers boxes and file dialogs from a script and records what was shown. A box that needs an answer nobody scripted fails the test;
/// boxes with only an OK button answer themselves. Call finish() at the end: an answer nobody asked for fails the test too.
class ScriptedPrompts final : public Prompts
{
public:
    struct Shown
    {
        QString text;
        int style = 0;
        QString title;
    };
    std::vector<Shown> shown;
    std::deque<int> answers;
    std::deque<std::optional<QString>> files;
    int pointerShape = 0;
    std::function<void()> beforeAnswer; ///< runs while a box is open, before it is answered

    int messageBox(const QString &text, int style, const QString &title) override;
    std::optional<QString> chooseSaveFile(const FileDialogRequest &) override { return nextFile(); }
    std::optional<QString> chooseOpenFile(const FileDialogRequest &) override { return nextFile(); }
    void pointer(int shape) override { pointerShape = shape; }
    void unattended(bool) override {}
    void finish() const;

private:
    std::optional<QString> nextFile();
};

/// The operator's work as the test says it is.
struct FakeWork final : WorkAtHand
{
    [[nodiscard]] bool isProducingRows() const override { return producingRows; }
    [[nodiscard]] bool isEditing() const override { return editing; }
    bool producingRows = false, editing = false;
};

/// Keeps the numbers of the pages that it is asked for.
struct FakeHelp final : HelpViewer
{
    void showContext(int context) override { contexts.push_back(context); }
    std::vector<int> contexts;
};

/// A clock that stands until it is moved. Wall time and instant move together; the wall shows UTC.
class FakeClock final : public Clock
{
public:
    explicit FakeClock(const WallTime &start) : m_wall(start) {}
    [[nodiscard]] std::chrono::system_clock::time_point now() const override;
    [[nodiscard]] WallTime wallNow() const override { return m_wall; }
    void set(const WallTime &wall) { m_wall = wall; }
    void advance(std::chrono::seconds by);

private:
    WallTime m_wall;
};

} // namespace qm::test
