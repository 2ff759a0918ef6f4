// What a key costs in the middle of a long message in the compose window, beside the toolkit's bare editor
// with the same text: layout and painting included, until it is on the screen. And how long the event loop is
// held when a version is kept after a pause.

#include "config/directory.h"
#include "config/reporter.h"
#include "engine/engine.h"
#include "engine/stallwatch.h"
#include "ui/compose/composeeditor.h"
#include "ui/compose/plaineditor.h"
#include "ui/compose/richeditor.h"
#include "ui/compose/sendwindow.h"
#include "ui/look/looks.h"
#include "ui/look/messageboxes.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTextBlock>

#include <algorithm>
#include <cstdio>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

constexpr int kKeys = 400;
constexpr int kPlainLines = 20'000;
constexpr int kRichLines = 2'000;
constexpr QSize kWindow(1000, 760);
constexpr int kLongestPause = 30'000; // milliseconds

QString quotedText(int lines)
{
    return u"> a quoted line of the message that is answered here\n"_s.repeated(lines);
}

/// Types behind an empty line in the middle, as one who answers there; prints milliseconds.
template <typename Editor>
void type(const char *name, Editor *editor)
{
    QTextCursor cursor(editor->document()->findBlockByNumber(editor->document()->blockCount() / 2));
    cursor.insertBlock(QTextBlockFormat());
    editor->setTextCursor(cursor);
    editor->setFocus();
    QTest::qWait(50);
    const int before = editor->document()->characterCount();
    std::vector<double> times;
    for (int i = 0; i < kKeys; ++i) {
        QElapsedTimer clock;
        clock.start();
        QTest::keyClick(editor, i % 9 == 8 ? Qt::Key_Space : Qt::Key_A);
        editor->viewport()->repaint();
        times.push_back(double(clock.nsecsElapsed()) / 1e6);
    }
    if (editor->document()->characterCount() < before + kKeys)
        qFatal("not all that was typed is there");
    std::sort(times.begin(), times.end());
    std::printf("%s %.3f %.3f\n", name, times[times.size() / 2], times.back());
}

template <typename Editor>
void typeBare(const char *name, int lines)
{
    Editor editor;
    editor.setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    editor.resize(kWindow);
    editor.setPlainText(quotedText(lines));
    editor.show();
    type(name, &editor);
}

class Writer
{
public:
    Writer()
        : m_boxes(&m_parent)
    {
        if (!m_engine.load())
            qFatal("the engine does not load");
        m_looks.start();
        Identity identity;
        identity.address = u"clara@tidewater.example"_s;
        m_engine.identities().add(identity);
    }

    void run(const char *name, int lines, bool isRich)
    {
        Composer::Started started;
        started.composition.identity = m_engine.identities().all().front();
        started.composition.text = quotedText(lines);
        started.context.deed = DraftContext::Deed::Reply;
        const ComposeServices services = {m_engine.composer(),   m_engine.drafts(), m_engine.outbox(),
                                          m_engine.identities(), m_boxes,           {}};
        auto *window = new SendWindow(services, started);
        window->resize(kWindow);
        window->comeForward();
        if (!QTest::qWaitForWindowActive(window))
            qFatal("the window does not come");
        auto *editor = window->findChild<ComposeEditor *>();
        editor->setRich(isRich);
        isRich ? type(name, editor->rich()) : type(name, editor->plain());
        QSignalSpy kept(&m_engine.drafts(), &Drafts::kept);
        StallWatch watch;
        if (!kept.wait(kLongestPause))
            qFatal("what was typed is not kept");
        QTest::qWait(100);
        std::printf("kept-%s %.1f\n", name, watch.longest().milliseconds);
        delete window;
    }

private:
    Looks m_looks;
    Engine m_engine;
    QWidget m_parent;
    MessageBoxes m_boxes;
};

} // namespace

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    setReportSink([](const Report &report) { qFatal("%s", qPrintable(report.text)); });
    const QTemporaryDir directory;
    setConfigDirectory(directory.path() + u"/config"_s);
    setStoreAccess(StoreAccess::ReadWrite);
    Writer writer;
    writer.run("plain", kPlainLines, false);
    typeBare<QPlainTextEdit>("bare-plain", kPlainLines);
    writer.run("formatted", kRichLines, true);
    typeBare<QTextEdit>("bare-formatted", kRichLines);
    return 0;
}
