#pragma once

#include "message/message.h"

#include <QObject>

#include <functional>

class AskingBar;

/// Finds the pieces of a message that was sent in several (RFC 2046 section 5.2.2): calls @p found once, at
/// once or later, with the whole texts of the messages that carry @p id in their Content-Type. What is not
/// such a piece is left out by who asked.
using PartFinder =
    std::function<void(const QByteArray &id, std::function<void(const QList<QByteArray> &texts)> found)>;

/// Says above a message that is a piece of a longer one how many of the pieces are here, and puts them
/// together when all are.
class PartialJoiner : public QObject
{
    Q_OBJECT

public:
    PartialJoiner(AskingBar *bar, QObject *parent);

    /// Without one nothing is said.
    void setFinder(PartFinder finder) { m_finder = std::move(finder); }

    /// Any message; what was asked for an earlier one is forgotten.
    void showMessage(const Message &message);

signals:
    void messageWanted(const Message &whole);

private:
    void tell(const QByteArray &own, const QList<QByteArray> &texts);

    AskingBar *m_bar;
    PartFinder m_finder;
    int m_asked = 0; ///< counts the questions: an answer to an old one is not shown
};
