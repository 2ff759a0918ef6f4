#pragma once

#include <QByteArrayView>
#include <QString>

/// The content of a message/delivery-status (RFC 3464) as a text for people: for each recipient what became
/// of the message and why, then the servers that say so. The part's own parts in the list hold the same bytes
/// and need not be shown beside it. Fields nobody knows are left out; a content without any known field comes
/// back as it is.
QString deliveryStatusText(QByteArrayView content);
