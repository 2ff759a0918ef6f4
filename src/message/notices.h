#pragma once

#include "message/address.h"

#include <QByteArray>

class Message;

/// The short messages that are built from another one alone. Nothing taken from it becomes a header line of
/// its own. Line ends are "\n".

struct ReceiptSender
{
    Address identity;
    QString replyTo; ///< empty for no Reply-To field
};

/// The read receipt that @p received asks for, from @p sender. Empty when it names no address to send one to;
/// of several the first gets it, so that nobody can have one sent to a list.
QByteArray readReceipt(const Message &received, const ReceiptSender &sender);

/// The control message that withdraws @p article, one's own. Empty when that has no usable identifier or
/// stands in no newsgroup.
QByteArray cancelMessage(const Message &article);
