#include "ui/reader/partialjoiner.h"

#include "message/mimecontext.h"
#include "message/mimepartial.h"
#include "ui/look/askingbar.h"

#include <QPointer>

#include <memory>

PartialJoiner::PartialJoiner(AskingBar *bar, QObject *parent)
    : QObject(parent)
    , m_bar(bar)
{}

void PartialJoiner::showMessage(const Message &message)
{
    ++m_asked;
    if (!m_finder || message.mime().count() != 1 || message.mime().part(0).type != PartialPart)
        return;
    const auto piece = MIMEPartial::describe(message.text());
    if (!piece)
        return;
    m_finder(piece->id,
             [self = QPointer(this), asked = m_asked, own = message.text()](const QList<QByteArray> &texts) {
                 if (self && self->m_asked == asked)
                     self->tell(own, texts);
             });
}

void PartialJoiner::tell(const QByteArray &own, const QList<QByteArray> &texts)
{
    auto pieces = std::make_shared<MIMEPartial>();
    pieces->add(own);
    for (const QByteArray &text : texts)
        pieces->add(text);
    if (pieces->isComplete())
        return m_bar->ask(MessageBar::Kind::Information, tr("All %1 parts are here.").arg(pieces->total()),
                          {tr("Join"), [this, pieces] { emit messageWanted(Message(pieces->joined())); }});
    m_bar->tell(MessageBar::Kind::Information,
                pieces->total() > 0
                    ? tr("%1 of %2 parts are here.").arg(pieces->count()).arg(pieces->total())
                    : tr("%1 parts are here; how many there are is not known yet.").arg(pieces->count()));
}
