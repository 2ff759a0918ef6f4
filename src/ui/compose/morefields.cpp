#include "ui/compose/morefields.h"

#include "compose/messagebuilder.h"
#include "message/headerblock.h"
#include "ui/look/dialogfooter.h"
#include "ui/look/fixedfont.h"
#include "ui/look/smalldialog.h"

#include <QCoreApplication>
#include <QLabel>
#include <QPlainTextEdit>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

QString words(const char *text)
{
    return QCoreApplication::translate("MoreFields", text);
}

/// The fields in @p text, and what is wrong with it.
QString parse(const QString &text, QList<ExtraHeader> &fields)
{
    for (const QString &line : text.split(u'\n', Qt::SkipEmptyParts)) {
        const qsizetype colon = line.indexOf(u':');
        const QString name = line.left(colon).trimmed();
        if (colon <= 0 || !beginsWithField((name + u':').toLatin1()))
            return words(QT_TRANSLATE_NOOP("MoreFields", "“%1” is no header line.")).arg(line.left(60));
        if (isOwnField(name.toLatin1()))
            return words(QT_TRANSLATE_NOOP("MoreFields", "“%1” is written by the program itself.")).arg(name);
        fields.append({name, line.mid(colon + 1).trimmed()});
    }
    return {};
}

} // namespace

QDialog *showMoreFields(QWidget *parent, const QList<ExtraHeader> &fields,
                        std::function<void(const QList<ExtraHeader> &)> done)
{
    auto *dialog = new SmallDialog(parent, words(QT_TRANSLATE_NOOP("MoreFields", "More header fields")),
                                   words(QT_TRANSLATE_NOOP("MoreFields", "Apply")));
    auto *hint = new QLabel(words(QT_TRANSLATE_NOOP(
        "MoreFields", "One field a line, as “X-Name: value”. They are sent with the message.")));
    hint->setWordWrap(true);
    auto *text = new QPlainTextEdit;
    setFixedFont(text);
    text->setAccessibleName(words(QT_TRANSLATE_NOOP("MoreFields", "Header fields")));
    QStringList lines;
    for (const ExtraHeader &field : fields)
        lines.append(field.name + u": "_s + field.value);
    text->setPlainText(lines.join(u'\n'));
    dialog->contents()->addWidget(hint);
    dialog->contents()->addWidget(text);
    QObject::connect(text, &QPlainTextEdit::textChanged, dialog, [dialog, text] {
        QList<ExtraHeader> read;
        dialog->setProblem(parse(text->toPlainText(), read));
    });
    QObject::connect(dialog, &QDialog::accepted, dialog, [text, done = std::move(done)] {
        QList<ExtraHeader> read;
        if (parse(text->toPlainText(), read).isEmpty())
            done(read);
    });
    text->setFocus();
    dialog->open();
    return dialog;
}
