#pragma once

#include "net/questions.h"

#include <QDialog>
#include <QObject>
#include <QPointer>

#include <deque>
#include <functional>
#include <vector>

class QWidget;

/// Puts the questions of connections before the user, one at a time and without an event loop of its own. A
/// question about what is asked already joins it. While the user types elsewhere it comes up without the
/// keyboard, so that no half sentence becomes a password.
class WindowQuestions : public QObject, public UserQuestions
{
    Q_OBJECT

public:
    /// Dialogs belong to @p window, which must outlive this.
    explicit WindowQuestions(QWidget *window);
    ~WindowQuestions() override;

    void askCertificate(const CertificateQuestion &question,
                        std::function<void(CertificateAnswer)> answer) override;
    void askPassword(const PasswordQuestion &question,
                     std::function<void(const QString &password, PasswordKeeping)> answer) override;
    void withdraw(int account) override;

    /// The open one; null when there is none.
    QDialog *openDialog() const { return m_open; }
    bool isBusy() const { return m_open || !m_waiting.empty(); }

private:
    struct Entry
    {
        int account = 0;
        QByteArray subject; ///< what it is about: the certificate, or "password"
        std::function<QDialog *(QWidget *window)> open;
        std::vector<std::function<void(QDialog *)>> answers;
    };

    void add(Entry entry);
    void openNext();
    void finished();

    QWidget *m_window;
    std::deque<Entry> m_waiting; ///< the first one is open when there is an open one
    QPointer<QDialog> m_open;
};
