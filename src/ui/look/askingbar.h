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
    void tell(Kind kind, const QString &text) { ask(kind, text); }

private:
    void answer(Answer &answer);

    Answer m_first;
    Answer m_second;
};
