#include "ui/accounts/windowquestions.h"

#include "ui/accounts/certificatedialog.h"
#include "ui/accounts/passworddialog.h"

#include <QApplication>
#include <QDialog>
#include <QTimer>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

/// Whether keys that are pressed now are meant for something else than an answer.
bool userIsTyping()
{
    if (QApplication::activePopupWidget() || QApplication::activeModalWidget())
        return true;
    const QWidget *focus = QApplication::focusWidget();
    return focus && focus->inputMethodQuery(Qt::ImEnabled).toBool() &&
           focus->testAttribute(Qt::WA_InputMethodEnabled);
}

} // namespace

WindowQuestions::WindowQuestions(QWidget *window)
    : QObject(window)
    , m_window(window)
{}

WindowQuestions::~WindowQuestions()
{
    delete m_open;
}

void WindowQuestions::askCertificate(const CertificateQuestion &question,
                                     std::function<void(CertificateAnswer)> answer)
{
    Entry entry;
    entry.account = question.account;
    entry.subject = question.found.certificate.sha256;
    entry.open = [question](QWidget *window) { return new CertificateDialog(question, window); };
    entry.answers.push_back([answer = std::move(answer)](QDialog *dialog) {
        answer(static_cast<CertificateDialog *>(dialog)->answer());
    });
    add(std::move(entry));
}

void WindowQuestions::askPassword(const PasswordQuestion &question,
                                  std::function<void(const QString &, PasswordKeeping)> answer)
{
    Entry entry;
    entry.account = question.account;
    entry.subject = "password"_ba;
    entry.open = [question](QWidget *window) { return new PasswordDialog(question, window); };
    entry.answers.push_back([answer = std::move(answer)](QDialog *dialog) {
        const auto *password = static_cast<PasswordDialog *>(dialog);
        answer(password->password(), password->keeping());
    });
    add(std::move(entry));
}

void WindowQuestions::add(Entry entry)
{
    for (Entry &other : m_waiting) {
        if (other.account == entry.account && other.subject == entry.subject) {
            other.answers.push_back(std::move(entry.answers.front()));
            return;
        }
    }
    m_waiting.push_back(std::move(entry));
    QTimer::singleShot(0, this, &WindowQuestions::openNext); // whoever asks is in the middle of something
}

void WindowQuestions::withdraw(int account)
{
    const bool isOpen = m_open && !m_waiting.empty() && m_waiting.front().account == account;
    std::erase_if(m_waiting, [account](const Entry &entry) { return entry.account == account; });
    if (!isOpen)
        return;
    m_open->disconnect(this);
    m_open->hide();
    m_open->deleteLater();
    m_open = nullptr;
    QTimer::singleShot(0, this, &WindowQuestions::openNext);
}

void WindowQuestions::openNext()
{
    if (m_open || m_waiting.empty())
        return;
    QDialog *dialog = m_waiting.front().open(m_window);
    m_open = dialog;
    connect(dialog, &QDialog::finished, this, &WindowQuestions::finished);
    dialog->setAttribute(Qt::WA_ShowWithoutActivating, userIsTyping());
    dialog->show();
    QApplication::alert(dialog);
}

void WindowQuestions::finished()
{
    QDialog *dialog = m_open;
    m_open = nullptr;
    const Entry entry = std::move(m_waiting.front());
    m_waiting.pop_front();
    dialog->deleteLater();
    QTimer::singleShot(0, this, &WindowQuestions::openNext);
    for (const auto &answer : entry.answers)
        answer(dialog);
}
