#pragma once

#include <QObject>
#include <QString>

#include <functional>

/// A piece of long work that is done in slices, so that the window never waits: an import, a fetch, a
/// compaction. The command line runs the same tasks to their end at once.
class Task : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    enum class State {
        Working,
        Done,
        Failed,  ///< after a report, or with a problem()
        Stopped, ///< at a safe point, because somebody asked
    };

    /// Works for about @p milliseconds. The first call begins; after anything but Working it does nothing
    /// more.
    State step(int milliseconds);

    /// Asks for an end at the next safe point; what is done so far stays.
    void stop() { m_stopWanted = true; }

    /// All steps at once. @p goOn is asked between them; false stops.
    State run(const std::function<bool()> &goOn = {});

    State state() const { return m_state; }

    /// What it does, for the status line: "Importing holiday.mbox".
    virtual QString title() const = 0;

    /// How far it is; total() is 0 while nobody knows, and the text counts instead.
    virtual qint64 done() const { return 0; }
    virtual qint64 total() const { return 0; }

    /// What was done, when it has ended: "312 messages imported, 2 skipped".
    virtual QString result() const { return {}; }

    /// Why it failed, where no report was made of it.
    virtual QString problem() const { return {}; }

signals:
    void progressed();
    void ended();

protected:
    /// Works for about @p milliseconds.
    virtual State work(int milliseconds) = 0;

    /// Comes to a safe point; Stopped, or Failed.
    virtual State halt() { return State::Stopped; }

private:
    State m_state = State::Working;
    bool m_stopWanted = false;
};
