#pragma once

#include "ui/look/messagebar.h"

#include <functional>

/// A message bar whose buttons know what they are for: what is asked next takes the place of what was asked
/// before, with its answers.
class AskingBar : public MessageBar
{
    Q_OBJECT

public:
    struct Answer
    {
        QString text;
        std::function<void()> then;
    };

    explicit AskingBar(QWidget *parent = nullptr);

    /// An answer hides the bar before it acts.
    void ask(Kind kind, const QString &text, Answer first = {}, Answer second = {});
    /// A box to tick beside what was asked last; @p then learns of each change at once.
    void offerTick(const QString &text, std::function<void(bool)> then);

    void tell(Kind kind, const QString &text) { ask(kind, text); }

private:
    void answer(Answer &answer);

    Answer m_first;
    Answer m_second;
    std::function<void(bool)> m_whenTicked;
};
