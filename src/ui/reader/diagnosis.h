#pragma once

#include <QByteArray>
#include <QStringList>

class Message;
class MIMEContext;

/// What is wrong with how a message is written, in sentences for people, the gravest first; empty when all is
/// well. @p charset is what the reader chose for its texts, if anything. Of large parts only the ends are
/// looked at, so that no message is slow to show for it.
QStringList diagnose(const Message &message, const MIMEContext &mime, const QByteArray &charset = {});

/// The gravest of @p faults and how many more there are; empty without any.
QString faultsInWords(const QStringList &faults);
