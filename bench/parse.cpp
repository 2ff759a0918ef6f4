// Reads an mbox, decodes the header fields that a list shows and every part, texts by their character sets:
// the same work as gmime.cpp does.

#include "message/address.h"
#include "message/message.h"
#include "message/mimecontext.h"
#include "store/mailbox/mboxreader.h"
#include "tally.h"

#include <QFile>

namespace {

void takeText(const QString &text, Tally &tally)
{
    const QByteArray utf8 = text.toUtf8();
    tally.addText(utf8.constData(), std::size_t(utf8.size()));
}

void takeHeader(const Message &message, Tally &tally)
{
    const QByteArray subject = message.subject().toUtf8();
    tally.addHeader(subject.constData(), std::size_t(subject.size()));
    const QList<Address> senders = message.addresses("From");
    for (const Address &sender : senders) {
        const QByteArray name = sender.name.toUtf8();
        tally.addHeader(name.constData(), std::size_t(name.size()));
    }
    if (const std::optional<qint64> date = message.readableDate())
        tally.addHeader(reinterpret_cast<const char *>(&*date), sizeof *date);
}

void takeParts(const MIMEContext &mime, Tally &tally)
{
    for (int i = 0; i < mime.count(); ++i) {
        const int type = mime.part(i).type;
        if (isMultipartCategory(type) || isEnclosedCategory(type))
            continue;
        const MIMEContext::Content content = mime.decodedContent(i);
        tally.addPart(content.bytes.constData(), std::size_t(content.bytes.size()));
        if (tally.checks() && isTextCategory(type))
            takeText(content.text, tally);
    }
}

} // namespace

int main(int argc, char **argv)
{
    const bool checks = argc > 1 && QByteArrayView(argv[1]) == "--check";
    QFile file(argc > 1 ? QFile::decodeName(argv[argc - 1]) : QString());
    if (!file.open(QIODevice::ReadOnly)) {
        std::fprintf(stderr, "an mbox is wanted\n");
        return 1;
    }
    Tally tally(checks);
    MboxReader reader(file);
    MboxMessage mail;
    while (reader.next(mail) == MboxReader::Outcome::Message) {
        const Message message(mail.text);
        tally.addMessage();
        takeHeader(message, tally);
        takeParts(message.mime(), tally);
    }
    tally.print();
}
