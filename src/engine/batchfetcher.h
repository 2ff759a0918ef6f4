#pragma once

#include "engine/batchfetch.h"
#include "net/fetcher.h"

#include <QTimer>

/// The client of a batch-file account: its BatchFetch, a slice at a time from the event loop.
class BatchFetcher : public Fetcher
{
    Q_OBJECT

public:
    BatchFetcher(Account &account, Delivery &delivery);
    ~BatchFetcher() override;

    bool start() override;
    void stop() override;

private:
    void slice();
    void end(Task::State state);

    BatchFetch m_import;
    QTimer m_timer;
};
