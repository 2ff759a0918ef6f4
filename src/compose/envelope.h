#pragma once

#include "compose/headerwriter.h"
#include "identity/identity.h"

#include <QStringList>

/// Whom a message goes to, and from whom.

/// Everybody in the address fields, each once.
QList<Address> envelopeRecipients(const QStringList &fields);

/// False, after a report, when somebody who is named could not be reached: nobody is left out in silence.
bool canBeAddressed(const Identity &identity, const QList<Address> &recipients);

/// The control headers that tell the sender (they never leave the machine).
void writeEnvelope(HeaderWriter &header, const Identity &identity, QList<Address> recipients);
