#include "message/mimepartial.h"

#include "message/contentfields.h"
#include "message/headerblock.h"

namespace {

/// Whether the field belongs to the enclosed message rather than to the piece that carries it.
bool isOfEnclosed(QByteArrayView name)
{
    constexpr const char *names[] = {"subject", "message-id", "encrypted", "mime-version"};
    if (name.size() > 8 && name.first(8).compare("content-", Qt::CaseInsensitive) == 0)
        return true;
    return std::any_of(std::begin(names), std::end(names), [name](const char *one) {
        return name.compare(QByteArrayView(one), Qt::CaseInsensitive) == 0;
    });
}

QByteArray fieldsOf(QByteArrayView header, bool ofEnclosed)
{
    QByteArray kept;
    const HeaderFields fields(header);
    for (qsizetype index = 0; index < fields.count(); ++index) {
        const auto [name, value] = fields.at(index);
        if (isOfEnclosed(name) == ofEnclosed)
            kept.append(name).append(": ").append(value).append('\n');
    }
    return kept;
}

QByteArrayView bodyOf(const QByteArray &messageText)
{
    return QByteArrayView(messageText).sliced(headerExtent(messageText).bodyOffset);
}

} // namespace

std::optional<MIMEPartial::Piece> MIMEPartial::describe(const QByteArray &messageText)
{
    const QByteArrayView header = QByteArrayView(messageText).first(headerExtent(messageText).length);
    const ParameterList type(ContentFields::read(header).type);
    if (categoryOf(type.value()) != PartialPart)
        return {};
    const Piece piece{type.bytes("id"), type.bytes("number").toInt(), type.bytes("total").toInt()};
    const int last = piece.total > 0 ? std::min(piece.total, kMostPieces) : kMostPieces;
    if (piece.id.isEmpty() || piece.number < 1 || piece.number > last)
        return {};
    return piece;
}

bool MIMEPartial::add(const QByteArray &messageText)
{
    const std::optional<Piece> piece = describe(messageText);
    if (!piece || (!m_pieces.empty() && piece->id != m_id) || m_pieces.contains(piece->number))
        return false;
    const int total = piece->total > 0 ? piece->total : m_total;
    const int highest = m_pieces.empty() ? 0 : m_pieces.rbegin()->first;
    if ((m_total > 0 && total != m_total) || (total > 0 && std::max(highest, piece->number) > total))
        return false;
    m_id = piece->id;
    m_total = total;
    m_pieces.emplace(piece->number, messageText);
    return true;
}

QByteArray MIMEPartial::joined() const
{
    if (!isComplete())
        return {};
    const QByteArray &first = m_pieces.begin()->second;
    const QByteArrayView enclosed = bodyOf(first);
    const HeaderExtent header = headerExtent(enclosed);
    QByteArray text = fieldsOf(QByteArrayView(first).first(headerExtent(first).length), false) +
                      fieldsOf(enclosed.first(header.length), true) + '\n';
    text += enclosed.sliced(header.bodyOffset);
    for (auto piece = std::next(m_pieces.begin()); piece != m_pieces.end(); ++piece)
        text += bodyOf(piece->second);
    return text;
}
