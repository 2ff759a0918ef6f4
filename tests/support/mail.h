#pragma once

#include <QByteArray>

/// A small mail for tests; @p more are further header lines, each with its "\n".
inline QByteArray mailText(const QByteArray &id, const QByteArray &subject, const QByteArray &more = {},
                           const QByteArray &body = "Hello\n")
{
    return "From: Ada <ada@example.org>\nTo: bob@example.org\nSubject: " + subject + "\nMessage-ID: <" + id +
           ">\nDate: Fri, 20 Nov 2026 10:00:00 +0000\n" + more + "\n" + body;
}
