#include "ui/compose/drafthistory.h"

#include "engine/drafts.h"
#include "ui/look/metrics.h"
#include "ui/look/smalldialog.h"
#include "ui/texts/harmless.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QListWidget>
#include <QLocale>
#include <QPlainTextEdit>
#include <QSplitter>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

QString words(const char *text)
{
    return QCoreApplication::translate("DraftHistory", text);
}

QString lineOf(const DraftVersion &version)
{
    const QDateTime time = QDateTime::fromSecsSinceEpoch(version.time);
    const bool today = time.date() == QDate::currentDate();
    const QString when = today ? QLocale().toString(time.time(), QLocale::ShortFormat)
                               : QLocale().toString(time, QLocale::ShortFormat);
    return words(QT_TRANSLATE_NOOP("DraftHistory", "%1, %2 characters"))
               .arg(when, QLocale().toString(version.characters)) +
           u'\n' + harmlessLine(version.beginning, 60);
}

} // namespace

QDialog *showDraftHistory(QWidget *parent, const Drafts &drafts, int draft,
                          std::function<void(int serial)> restore)
{
    auto *dialog = new SmallDialog(parent, words(QT_TRANSLATE_NOOP("DraftHistory", "Earlier versions")),
                                   words(QT_TRANSLATE_NOOP("DraftHistory", "Restore")));
    auto *list = new QListWidget;
    list->setAccessibleName(words(QT_TRANSLATE_NOOP("DraftHistory", "Versions")));
    list->setMinimumWidth(columnWidth(30));
    for (const DraftVersion &version : drafts.versions(draft)) {
        auto *line = new QListWidgetItem(lineOf(version), list);
        line->setData(Qt::UserRole, version.serial); // one that is kept meanwhile moves the others on
    }
    auto *look = new QPlainTextEdit;
    look->setReadOnly(true);
    look->setAccessibleName(words(QT_TRANSLATE_NOOP("DraftHistory", "Text of the version")));
    auto *split = new QSplitter;
    split->addWidget(list);
    split->addWidget(look);
    split->setStretchFactor(1, 1);
    split->setMinimumSize(columnWidth(80), 20 * textHeight());
    dialog->contents()->addWidget(split, 1);
    QObject::connect(
        list, &QListWidget::currentItemChanged, dialog, [&drafts, draft, look](const QListWidgetItem *line) {
            look->setPlainText(line ? drafts.text(draft, line->data(Qt::UserRole).toInt()).text : QString());
        });
    QObject::connect(dialog, &QDialog::accepted, dialog, [list, restore = std::move(restore)] {
        if (const QListWidgetItem *line = list->currentItem())
            restore(line->data(Qt::UserRole).toInt());
    });
    list->setCurrentRow(0);
    list->setFocus();
    dialog->open();
    return dialog;
}
