#include "message/message.h"
#include "message/mimecontext.h"

#include <QSaveFile>

using namespace Qt::StringLiterals;

namespace {

struct SummaryField
{
    QLatin1StringView name;
    QLatin1StringView htmlLabel;
};

constexpr std::array kSummaryFields = {
    SummaryField{"Date"_L1, "Date"_L1},
    SummaryField{"From"_L1, "From"_L1},
    SummaryField{"To"_L1, "To"_L1},
    SummaryField{"Cc"_L1, "CC"_L1},
    SummaryField{"Newsgroups"_L1, "Newsgroups"_L1},
    SummaryField{"Subject"_L1, "Subject"_L1},
};

QString htmlRow(const SummaryField &field, const QString &value)
{
    return "<tr><td align=left valign=top><font face=\"sanserif\"><b>"_L1 + field.htmlLabel +
           ":</b></font></td><td align=left valign=top>"_L1 + value.toHtmlEscaped() + "</font></td></tr>"_L1;
}

/// The plain texts of the body that are no attachments; the HTML as it is where there are none.
QString readableBody(const MIMEContext &mime)
{
    for (const int category : {int(PlainTextPart), int(HtmlPart), int(OtherTextPart)}) {
        QStringList texts;
        for (int i = 0; i < mime.count(); ++i)
            if (mime.part(i).type == category && !mime.part(i).isAttachment())
                texts.append(mime.displayText(i));
        if (!texts.isEmpty())
            return texts.join(u'\n');
    }
    return {};
}

} // namespace

QString Message::headerSummary(SummaryForm form) const
{
    const bool html = form == SummaryForm::Html;
    QString summary = html ? u"<hr><table>"_s : QString();
    for (const SummaryField &field : kSummaryFields) {
        const QString value = header(QByteArrayView(field.name.data(), field.name.size()));
        if (!value.isEmpty())
            summary += html ? htmlRow(field, value) : field.name + ": "_L1 + value + u'\n';
    }
    return html ? summary + u"</table>"_s : summary;
}

bool Message::saveAsText(const QString &path, SavedText what, LineEnds lineEnds) const
{
    QByteArray bytes =
        what == SavedText::Raw ? text() : (headerSummary() + u'\n' + readableBody(mime())).toUtf8();
    if (lineEnds == LineEnds::CrLf)
        bytes.replace("\n", "\r\n");
    QSaveFile file(path);
    file.setDirectWriteFallback(true);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.commit();
}
