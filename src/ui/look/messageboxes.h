#pragma once

#include "config/reporter.h"

#include <QMessageBox>
#include <QObject>
#include <QPointer>
#include <QStringList>

#include <deque>
#include <functional>

class QPushButton;
class QWidget;

/// The modal boxes of the windowed program: one at a time, the others wait in a row, none with an event loop
/// of its own. For as long as it lives it is where reports go.
class MessageBoxes : public QObject
{
    Q_OBJECT

public:
    /// Boxes belong to @p window, which must outlive this, unless a report names another one.
    explicit MessageBoxes(QWidget *window);
    ~MessageBoxes() override;

    /// Shows @p text, as it stands, under the caption "Velmar". What waits already is not shown twice.
    void show(ReportLevel level, const QString &text, QObject *parent = nullptr);

    /// Several texts in one box, each in its own words.
    void showTogether(const QStringList &texts);

    struct Question
    {
        QString text;
        QString detail;         ///< a second paragraph; may be empty
        QStringList buttons;    ///< named by their verbs; the last one is what Esc means
        bool dangerous = false; ///< the first button destroys something: never the default
        ReportLevel level = ReportLevel::Information;

        QString neverAgain = {}; ///< of a box to tick, as "Don't ask me this again"; empty: there is none
        std::function<void()> whenTicked = {}; ///< called ahead of the answer, but not when Esc was meant
    };

    /// Asks; @p answer learns which button it was, from the event loop. Not called when @p context has gone.
    /// Where that is a widget the box belongs to its window.
    void ask(const Question &question, QObject *context, std::function<void(int)> answer);

    /// Whether a box is open or waits.
    bool isBusy() const { return m_open || !m_waiting.empty(); }

    /// The open box; null when there is none.
    QMessageBox *openBox() const { return m_open; }

signals:
    /// Something was reported; questions are not.
    void told(ReportLevel level, const QString &text);

private:
    struct Entry
    {
        Question question;
        QPointer<QObject> parent;
        QPointer<QObject> context;
        std::function<void(int)> answer;
        int times = 1;
    };

    void add(Entry entry);
    void openNext();
    void openEntry(const Entry &entry);
    void finished(const Entry &entry, const QList<QPushButton *> &buttons);

    QWidget *m_window;
    std::deque<Entry> m_waiting;
    QPointer<QMessageBox> m_open;
    ReportSink m_previousSink;
};
