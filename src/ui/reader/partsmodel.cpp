#include "ui/reader/partsmodel.h"

#include "message/mimecontext.h"
#include "ui/look/icons.h"
#include "ui/reader/attachmentfiles.h"
#include "ui/texts/harmless.h"
#include "ui/texts/sizetext.h"

#include <QLocale>

using namespace Qt::StringLiterals;

namespace {

constexpr std::array kColumns = {
    QT_TRANSLATE_NOOP("PartsModel", "Part"),    QT_TRANSLATE_NOOP("PartsModel", "Type"),
    QT_TRANSLATE_NOOP("PartsModel", "Size"),    QT_TRANSLATE_NOOP("PartsModel", "Encoding"),
    QT_TRANSLATE_NOOP("PartsModel", "Charset"), QT_TRANSLATE_NOOP("PartsModel", "Disposition"),
};
static_assert(kColumns.size() == PartsModel::Disposition + 1);

constexpr std::array kEncodings = {"",       "7bit",       "8bit", "binary", "quoted-printable",
                                   "base64", "x-uuencode", "yEnc"};
static_assert(kEncodings.size() == Yenc + 1);

/// Types as the standard writes them, where the message itself is a multipart.
QString multipartType(int category)
{
    switch (category) {
    case DigestPart: return u"multipart/digest"_s;
    case AlternativePart: return u"multipart/alternative"_s;
    case EncryptedPart: return u"multipart/encrypted"_s;
    case SignedPart: return u"multipart/signed"_s;
    default: return u"multipart/mixed"_s;
    }
}

QString harmlessBytes(const QByteArray &bytes)
{
    return harmlessLine(QString::fromLatin1(bytes), 100);
}

QString partsInWords(qsizetype count)
{
    return count == 1 ? PartsModel::tr("1 part") : PartsModel::tr("%1 parts").arg(QLocale().toString(count));
}

} // namespace

PartsModel::PartsModel(const Message &message, QObject *parent)
    : QAbstractItemModel(parent)
    , m_message(message)
    , m_children(std::size_t(message.mime().count()) + 1)
    , m_rows(std::size_t(message.mime().count()))
{
    for (int part = 0; part < message.mime().count(); ++part) {
        QList<int> &siblings = m_children[std::size_t(message.mime().part(part).parent + 1)];
        m_rows[std::size_t(part)] = int(siblings.size());
        siblings.append(part);
    }
}

QModelIndex PartsModel::indexOf(int part) const
{
    return part < 0 ? createIndex(0, 0, quintptr(0))
                    : createIndex(m_rows[std::size_t(part)], 0, quintptr(part + 1));
}

QModelIndex PartsModel::index(int row, int column, const QModelIndex &parent) const
{
    if (!hasIndex(row, column, parent))
        return {};
    if (!parent.isValid())
        return createIndex(0, column, quintptr(0));
    return createIndex(row, column, quintptr(m_children[parent.internalId()][row] + 1));
}

QModelIndex PartsModel::parent(const QModelIndex &child) const
{
    const int part = partAt(child);
    return !child.isValid() || part < 0 ? QModelIndex() : indexOf(m_message.mime().part(part).parent);
}

int PartsModel::rowCount(const QModelIndex &parent) const
{
    if (!parent.isValid())
        return 1;
    return parent.column() > 0 ? 0 : int(m_children[parent.internalId()].size());
}

int PartsModel::columnCount(const QModelIndex &) const
{
    return int(kColumns.size());
}

QString PartsModel::messageText(Column column) const
{
    switch (column) {
    case Name: {
        const QString subject = harmlessLine(m_message.subject(), 200);
        return subject.isEmpty() ? tr("The message") : subject;
    }
    case Type: {
        const int type = m_message.mime().type();
        return isMultipartCategory(type) ? multipartType(type) : u"message/rfc822"_s;
    }
    case Size: return sizeText(m_message.text().size());
    default: return {};
    }
}

QString PartsModel::text(int part, Column column) const
{
    if (part < 0)
        return messageText(column);
    const MIMEPart &entry = m_message.mime().part(part);
    const bool isFrame = isMultipartCategory(entry.type);
    switch (column) {
    case Name: {
        if (isFrame)
            return partsInWords(m_children[std::size_t(part + 1)].size());
        const QString name = harmlessLine(entry.name, 200);
        if (!name.isEmpty())
            return name;
        const QString description = harmlessLine(entry.desc, 200);
        if (!description.isEmpty())
            return description;
        return entry.isAttachment() || isEnclosedCategory(entry.type) ? attachmentName(m_message, part)
                                                                      : tr("Text");
    }
    case Type: return harmlessBytes(entry.contenttype);
    case Size: return sizeText(isFrame ? entry.length : attachmentSize(m_message, part));
    case Encoding:
        return QString::fromLatin1(kEncodings.at(std::size_t(std::clamp<int>(entry.encoding, 0, Yenc))));
    case Charset:
        return isTextCategory(entry.type) && entry.labelled ? harmlessBytes(entry.charset) : QString();
    case Disposition: return harmlessBytes(entry.disposition);
    }
    return {};
}

QString PartsModel::spoken(const QModelIndex &index) const
{
    QStringList words;
    for (int column = 0; column < columnCount(); ++column)
        if (const QString word = text(partAt(index), Column(column)); !word.isEmpty())
            words.append(word);
    return words.join(u", "_s);
}

QVariant PartsModel::data(const QModelIndex &index, int role) const
{
    const int part = partAt(index);
    switch (role) {
    case Qt::DisplayRole: return text(part, Column(index.column()));
    case Qt::ToolTipRole: return asToolTip(text(part, Column(index.column())));
    case Qt::AccessibleTextRole:
        return index.column() == Name ? spoken(index) : text(part, Column(index.column()));
    case Qt::TextAlignmentRole:
        return index.column() == Size ? int(Qt::AlignTrailing | Qt::AlignVCenter)
                                      : int(Qt::AlignLeading | Qt::AlignVCenter);
    case Qt::DecorationRole:
        if (index.column() != Name)
            return {};
        if (part < 0)
            return icon(u"mail"_s);
        return icon(isMultipartCategory(m_message.mime().part(part).type) ? u"folder"_s
                                                                          : attachmentIcon(m_message, part));
    default: return {};
    }
}

QVariant PartsModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal)
        return {};
    if (role == Qt::TextAlignmentRole)
        return section == Size ? int(Qt::AlignTrailing | Qt::AlignVCenter)
                               : int(Qt::AlignLeading | Qt::AlignVCenter);
    return role == Qt::DisplayRole ? tr(kColumns[std::size_t(section)]) : QVariant();
}
