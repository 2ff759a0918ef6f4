#pragma once

#include "config/clock.h"
#include "engine/engine.h"

#include <QObject>
#include <QTemporaryDir>

#include <optional>

/// The invented mailbox of --demo: a configuration directory of its own that goes with the program, a batch
/// file that is fetched like any other, and groups to show. Its days end on 20 November 2026.
class Demo : public QObject
{
    Q_OBJECT

public:
    explicit Demo(QObject *parent = nullptr);

    /// Makes the directory and points the program at it. False: there is no room for it.
    bool prepare();

    /// Fetches the mailbox into @p engine and sorts it into groups. Emits ready() when that is done.
    void fill(Engine &engine);

signals:
    void ready();

private:
    void sortMail();
    void tagMail(Group &group);
    int tagBit(const QString &name, int hue);

    QTemporaryDir m_directory;
    std::optional<ClockOverride> m_clock;
    Engine *m_engine = nullptr;
};
