#include "ui/look/askingbar.h"

AskingBar::AskingBar(QWidget *parent)
    : MessageBar(parent)
{
    connect(this, &MessageBar::firstClicked, this, [this] { answer(m_first); });
    connect(this, &MessageBar::secondClicked, this, [this] { answer(m_second); });
    connect(this, &MessageBar::ticked, this, [this](bool on) {
        if (m_whenTicked)
            m_whenTicked(on);
    });
}

void AskingBar::ask(Kind kind, const QString &text, Answer first, Answer second)
{
    m_first = std::move(first);
    m_second = std::move(second);
    m_whenTicked = {};
    showMessage(kind, text, m_first.text, m_second.text);
}

void AskingBar::offerTick(const QString &text, std::function<void(bool)> then)
{
    m_whenTicked = std::move(then);
    MessageBar::offerTick(text);
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
