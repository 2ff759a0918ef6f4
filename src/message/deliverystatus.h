#pragma once

#include <QByteArrayView>
#include <QList>
#include <QString>

/// What became of a message on its way to one recipient (RFC 3464); texts are empty where nothing is said.
struct DeliveryReport
{
    enum class Fate { Unknown, Failed, Delayed, Delivered, Relayed, Expanded };

    QString recipient;
    QString original; ///< the address it was sent to when that is another one
    Fate fate = Fate::Unknown;
    QString action;     ///< as written, for one that is not known
    QString status;     ///< "5.2.2" (RFC 3463)
    QString reason;     ///< the words for it, in English: "the mailbox is full"; context "DeliveryStatus"
    QString diagnostic; ///< what the server said
    QString server;
    QString lastAttempt;
    QString retryUntil;
};

/// The recipients of a message/delivery-status in their order; empty when it holds none.
QList<DeliveryReport> deliveryReports(QByteArrayView content);

/// The content of a message/delivery-status (RFC 3464) as a text for people: for each recipient what became
/// of the message and why, then the servers that say so. The part's own parts in the list hold the same bytes
/// and need not be shown beside it. Fields nobody knows are left out; a content without any known field comes
/// back as it is.
QString deliveryStatusText(QByteArrayView content);
