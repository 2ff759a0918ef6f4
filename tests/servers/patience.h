#pragma once

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

/// Runs the event loop until @p isSo holds, without a pause between. False: it did not within the time.
template <typename Predicate>
bool comesTrue(Predicate isSo, int milliseconds = 5000)
{
    QTimer limit;
    limit.setSingleShot(true);
    limit.start(milliseconds);
    while (!isSo() && limit.isActive()) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    return isSo();
}
