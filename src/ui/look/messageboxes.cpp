#include "ui/look/messageboxes.h"

#include "ui/look/icons.h"
#include "ui/look/metrics.h"
#include "ui/look/velmarstyle.h"

#include <QCheckBox>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

struct Sign
{
    const char *icon;
    Role role;
};

Sign signOf(ReportLevel level)
{
    switch (level) {
    case ReportLevel::Information: return {"info", Role::Information};
    case ReportLevel::Warning: return {"warning", Role::Warning};
    case ReportLevel::Critical: return {"error", Role::Error};
    }
    return {"info", Role::Information};
}

QWidget *windowFor(QObject *object, QWidget *other)
{
    const auto *widget = qobject_cast<QWidget *>(object);
    return widget ? widget->window() : other;
}

} // namespace

MessageBoxes::MessageBoxes(QWidget *window)
    : QObject(window)
    , m_window(window)
{
    m_previousSink =
        setReportSink([this](const Report &report) { show(report.level, report.text, report.parent); });
}

MessageBoxes::~MessageBoxes()
{
    setReportSink(m_previousSink);
    delete m_open;
}

void MessageBoxes::show(ReportLevel level, const QString &text, QObject *parent)
{
    emit told(level, text);
    for (Entry &waiting : m_waiting) {
        if (!waiting.answer && waiting.question.text == text) {
            ++waiting.times;
            return;
        }
    }
    Entry entry;
    entry.question = {text, {}, {tr("OK")}, false, level};
    entry.parent = parent;
    add(std::move(entry));
}

void MessageBoxes::showTogether(const QStringList &texts)
{
    QStringList once = texts;
    once.removeDuplicates();
    show(ReportLevel::Warning, once.join(u"\n\n"_s));
}

void MessageBoxes::ask(const Question &question, QObject *context, std::function<void(int)> answer)
{
    Entry entry;
    entry.question = question;
    entry.context = context;
    entry.answer = std::move(answer);
    add(std::move(entry));
}

/// Boxes open from the event loop: whoever reports is in the middle of something.
void MessageBoxes::add(Entry entry)
{
    m_waiting.push_back(std::move(entry));
    QTimer::singleShot(0, this, &MessageBoxes::openNext);
}

void MessageBoxes::openNext()
{
    if (m_open || m_waiting.empty())
        return;
    const Entry entry = std::move(m_waiting.front());
    m_waiting.pop_front();
    openEntry(entry);
}

void MessageBoxes::openEntry(const Entry &entry)
{
    const Question &question = entry.question;
    const Sign sign = signOf(question.level);
    const int size = iconSize(IconUse::DialogHead);
    auto *box = new QMessageBox(windowFor(entry.parent ? entry.parent : entry.context, m_window));
    m_open = box;
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowTitle(u"Velmar"_s);
    box->setTextFormat(Qt::PlainText); // what it says may come out of a message
    box->setText(entry.times > 1 ? tr("%1 (%2 times)").arg(question.text).arg(entry.times) : question.text);
    box->setInformativeText(question.detail);
    box->setIconPixmap(icon(QString::fromLatin1(sign.icon), sign.role).pixmap(size));
    QList<QPushButton *> buttons;
    for (qsizetype i = 0; i < question.buttons.size(); ++i) {
        const bool isLast = i + 1 == question.buttons.size();
        QPushButton *button =
            box->addButton(question.buttons[i], isLast ? QMessageBox::RejectRole : QMessageBox::AcceptRole);
        buttons.append(button);
        if (i == 0 && question.dangerous)
            setButtonKind(button, ButtonKind::Dangerous);
        if (isLast)
            box->setEscapeButton(button);
        if (i == 0 ? !question.dangerous : (isLast && question.dangerous))
            box->setDefaultButton(button);
    }
    if (!question.neverAgain.isEmpty())
        box->setCheckBox(new QCheckBox(question.neverAgain));
    connect(box, &QDialog::finished, this, [this, entry, buttons] { finished(entry, buttons); });
    box->open();
}

/// By the button, not by its text: a desktop may have put a mnemonic into that.
void MessageBoxes::finished(const Entry &entry, const QList<QPushButton *> &buttons)
{
    const QAbstractButton *clicked = m_open ? m_open->clickedButton() : nullptr;
    const auto found = std::find(buttons.begin(), buttons.end(), clicked);
    const int chosen = int(found == buttons.end() ? buttons.size() - 1 : found - buttons.begin());
    const bool ticked = m_open && m_open->checkBox() && m_open->checkBox()->isChecked();
    m_open = nullptr;
    QTimer::singleShot(0, this, &MessageBoxes::openNext);
    if (ticked && chosen + 1 < buttons.size() && entry.question.whenTicked)
        entry.question.whenTicked();
    if (entry.answer && entry.context)
        entry.answer(chosen);
}
