#include "compose/envelope.h"
#include "compose/messagebuilder.h"
#include "config/clock.h"
#include "message/date.h"
#include "message/headerblock.h"
#include "message/lineends.h"

namespace {

constexpr QByteArrayView kControlBeginning = "x-velmar-";

bool isControlLine(QByteArrayView line)
{
    return line.size() >= kControlBeginning.size() &&
           line.first(kControlBeginning.size()).compare(kControlBeginning, Qt::CaseInsensitive) == 0;
}

/// @p header without its control headers, whoever wrote them, and without the empty lines before its first
/// field, behind which ours would be text.
QByteArray withoutControlFields(QByteArrayView header)
{
    QByteArray rest;
    rest.reserve(header.size());
    bool drops = false;
    for (qsizetype at = 0; at < header.size();) {
        const qsizetype found = header.indexOf('\n', at);
        const qsizetype next = found < 0 ? header.size() : found + 1;
        const QByteArrayView line = header.sliced(at, next - at);
        const bool continues = line.startsWith(' ') || line.startsWith('\t');
        drops = continues ? drops : isControlLine(line);
        if (!drops && !(rest.isEmpty() && line == "\n"))
            rest += line;
        at = next;
    }
    return rest;
}

} // namespace

QByteArray resentMessage(const QByteArray &message, const Identity &identity, const QString &to)
{
    const QList<Address> recipients = envelopeRecipients({to});
    if (!canBeAddressed(identity, recipients))
        return {};
    HeaderWriter header("UTF-8");
    header.line("Resent-Date", formatDate(clockNow()));
    header.addresses("Resent-From", {Address{identity.name, identity.address}});
    header.addresses("Resent-To", to);
    header.line("Resent-Message-ID", newIdentifier(identity));
    writeEnvelope(header, identity, recipients);

    const QByteArray text = withUnixLineEnds(message);
    const qsizetype headerLength = headerExtent(text).length;
    QByteArray resent = header.block() + withoutControlFields(QByteArrayView(text).first(headerLength));
    if (!resent.endsWith('\n'))
        resent += '\n';
    const QByteArrayView rest = QByteArrayView(text).sliced(headerLength);
    return resent += rest.isEmpty() ? QByteArrayView("\n") : rest;
}
