#pragma once

#include "message/mimepart.h"
#include "message/parameters.h"

/// The fields of a part's header that say what the part is. Of duplicates the first counts.
struct ContentFields
{
    QByteArray type; ///< each the value in one line, empty without the field
    QByteArray disposition;
    QByteArray encoding;
    QByteArray description;
    QByteArray id;
    QByteArray location;

    /// Reads the lines of @p header that begin with "content-", folded or not. A line that is no field and
    /// stands behind a value ending in ";" continues it, as some senders fold without a blank.
    static ContentFields read(QByteArrayView header);
};

/// What @p fields make of a part, positions left alone. @p withoutType is the type of a part that names none.
/// @p type is what the type's field holds.
MIMEPart describePart(const ContentFields &fields, const ParameterList &type, QByteArrayView withoutType);

/// The name of a file as the sender gave it: pieces and percent escapes (RFC 2231), encoded words, raw bytes.
/// With `BrokenAttachmentNames` what senders get wrong is put right as well. Raw bytes that are no UTF-8 are
/// read in @p charset.
QString attachmentName(const ParameterList &list, QByteArrayView parameter, QByteArrayView charset);
