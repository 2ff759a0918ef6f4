#include "ui/compose/sendlater.h"

#include "config/clock.h"
#include "ui/look/metrics.h"
#include "ui/look/smalldialog.h"
#include "ui/texts/datetext.h"

#include <QCoreApplication>
#include <QDateTimeEdit>
#include <QRadioButton>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

QString words(const char *text)
{
    return QCoreApplication::translate("SendLater", text);
}

struct Proposal
{
    QString text;
    QDateTime time;
};

/// Times that people mean: in an hour, this evening, tomorrow, Monday; those that are still to come.
QList<Proposal> proposals(const QDateTime &now)
{
    const QDate today = now.date();
    const QDate monday = today.addDays(8 - today.dayOfWeek());
    QList<Proposal> all = {
        {words(QT_TRANSLATE_NOOP("SendLater", "In an hour")), now.addSecs(3600)},
        {words(QT_TRANSLATE_NOOP("SendLater", "This evening")), QDateTime(today, QTime(18, 0))},
        {words(QT_TRANSLATE_NOOP("SendLater", "Tomorrow morning")), QDateTime(today.addDays(1), QTime(8, 0))},
        {words(QT_TRANSLATE_NOOP("SendLater", "Monday morning")), QDateTime(monday, QTime(8, 0))},
    };
    all.removeIf([&now](const Proposal &each) { return each.time <= now.addSecs(60); });
    return all;
}

} // namespace

QDialog *askSendingTime(QWidget *parent, std::function<void(qint64)> done, qint64 planned)
{
    const QString title = planned > 0 ? words(QT_TRANSLATE_NOOP("SendLater", "Change time"))
                                      : words(QT_TRANSLATE_NOOP("SendLater", "Send later"));
    auto *dialog = new SmallDialog(parent, title, words(QT_TRANSLATE_NOOP("SendLater", "Send then")));
    QDateTime now = clockNow();
    now.setTime(QTime(now.time().hour(), now.time().minute()));
    const bool isPlanned = planned > clockSeconds();
    auto *time = new QDateTimeEdit(isPlanned ? QDateTime::fromSecsSinceEpoch(planned) : now.addSecs(3600));
    time->setDisplayFormat(time->displayFormat().remove(u":ss"_s)); // without a country it has seconds
    time->setCalendarPopup(true);
    time->setMinimumDateTime(now);
    time->setAccessibleName(words(QT_TRANSLATE_NOOP("SendLater", "Date and time")));
    QRadioButton *first = nullptr;
    for (const Proposal &each : proposals(now)) {
        auto *button = new QRadioButton(each.text + u", "_s + dayText(each.time.date(), true) + u' ' +
                                        timeText(each.time.time()));
        QObject::connect(button, &QRadioButton::toggled, time, [time, each](bool on) {
            if (on)
                time->setDateTime(each.time);
        });
        dialog->contents()->addWidget(button);
        first = first ? first : button;
    }
    auto *own = new QRadioButton(words(QT_TRANSLATE_NOOP("SendLater", "At another time:")));
    dialog->contents()->addWidget(own);
    dialog->contents()->addWidget(time);
    time->setEnabled(false);
    QObject::connect(own, &QRadioButton::toggled, time, &QWidget::setEnabled);
    QObject::connect(dialog, &QDialog::accepted, dialog, [time, done = std::move(done)] {
        done(std::max(time->dateTime().toSecsSinceEpoch(), clockSeconds() + 1));
    });
    QRadioButton *start = isPlanned || !first ? own : first;
    start->setChecked(true);
    start->setFocus();
    dialog->open();
    return dialog;
}
