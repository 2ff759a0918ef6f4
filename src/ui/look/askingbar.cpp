#include "ui/look/askingbar.h"

AskingBar::AskingBar(QWidget *parent)
    : MessageBar(parent)
{
    connect(this, &MessageBar::firstClicked, this, [this] { answer(m_first); });
    connect(this, &MessageBar::secondClicked, this, [this] { answer(m_second); });
}

void AskingBar::ask(Kind kind, const QString &text, Answer first, Answer second)
{
    m_first = std::move(first);
    m_second = std::move(second);
    showMessage(kind, text, m_first.text, m_second.text);
}

void AskingBar::answer(Answer &answer)
{
    const std::function<void()> then = std::move(answer.then);
    hide();
    m_first = {};
    m_second = {};
    if (then)
        then();
}
