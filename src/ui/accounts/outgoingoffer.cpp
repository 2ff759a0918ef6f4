#include "ui/accounts/outgoingoffer.h"

#include "engine/engine.h"
#include "ui/look/messageboxes.h"

#include <QCoreApplication>

#include <algorithm>

namespace {

QString tr(const char *text)
{
    return QCoreApplication::translate("OutgoingOffer", text);
}

} // namespace

bool hasOutgoingAccount(Engine &engine)
{
    const auto &all = engine.accounts().accounts();
    return std::any_of(all.begin(), all.end(),
                       [](const auto &account) { return account->kind() == AccountKind::Smtp; });
}

bool offerOutgoingAccount(Engine &engine, MessageBoxes &boxes, QObject *context, std::function<void()> setUp)
{
    if (hasOutgoingAccount(engine))
        return false;
    MessageBoxes::Question question;
    question.text = tr("You have not set up any outgoing mail accounts.\nWould you like to set one up now?");
    question.buttons = {tr("&Yes"), tr("&No")};
    boxes.ask(question, context, [setUp = std::move(setUp)](int button) {
        if (button == 0)
            setUp();
    });
    return true;
}
