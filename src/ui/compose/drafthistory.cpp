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
                          std::function<void(const Composition &)> restore)
{
    auto *dialog = new SmallDialog(parent, words(QT_TRANSLATE_NOOP("DraftHistory", "Earlier versions")),
                                   words(QT_TRANSLATE_NOOP("DraftHistory", "Restore")));
    auto *list = new QListWidget;
    list->setAccessibleName(words(QT_TRANSLATE_NOOP("DraftHistory", "Versions")));
    list->setMinimumWidth(columnWidth(30));
    for (const DraftVersion &version : drafts.versions(draft))
        list->addItem(lineOf(version));
    auto *look = new QPlainTextEdit;
    look->setReadOnly(true);
    look->setAccessibleName(words(QT_TRANSLATE_NOOP("DraftHistory", "Text of the version")));
    auto *split = new QSplitter;
    split->addWidget(list);
    split->addWidget(look);
    split->setStretchFactor(1, 1);
    split->setMinimumSize(columnWidth(80), 20 * textHeight());
    dialog->contents()->addWidget(split, 1);
    QObject::connect(list, &QListWidget::currentRowChanged, dialog, [&drafts, draft, look](int row) {
        look->setPlainText(row < 0 ? QString() : drafts.version(draft, row).text);
    });
    QObject::connect(dialog, &QDialog::accepted, dialog,
                     [&drafts, draft, list, restore = std::move(restore)] {
                         if (list->currentRow() >= 0)
                             restore(drafts.version(draft, list->currentRow()));
                     });
    list->setCurrentRow(0);
    list->setFocus();
    dialog->open();
    return dialog;
}
