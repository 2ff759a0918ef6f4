#include "ui/accounts/outgoingoffer.h"

#include "engine/engine.h"
#include "identity/identitymanager.h"
#include "ui/look/messageboxes.h"
#include "ui/texts/harmless.h"

#include <QCoreApplication>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr int kLongestName = 60; ///< characters of a name in a box

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

bool offerOtherAccount(Engine &engine, MessageBoxes &boxes, QObject *context, int identity,
                       std::function<void()> setUp)
{
    const int number = engine.outbox().otherAccountFor(identity);
    const Account *other = engine.accounts().account(number);
    if (!other)
        return false;
    const Identity *writer =
        identity != 0 ? engine.identities().identity(identity) : engine.identities().defaultIdentity();
    const QString name = harmlessLine(other->name(), kLongestName);
    MessageBoxes::Question question;
    question.text = writer ? tr("No account sends for %1.").arg(harmlessLine(writer->display(), kLongestName))
                           : tr("No account sends for the identity that this was written as.");
    question.detail = tr("“%1” is another identity's account. It could send this mail, too; its server then "
                         "sees both addresses.")
                          .arg(name);
    question.buttons = {tr("&Send with “%1”").arg(QString(name).replace(u'&', u"&&"_s)), tr("&New account…"),
                        tr("&Later")};
    boxes.ask(question, context, [&engine, number, identity, setUp = std::move(setUp)](int button) {
        if (button == 1)
            setUp();
        else if (button == 0 && engine.outbox().letServe(number, identity))
            engine.outbox().sendWaiting(false);
    });
    return true;
}
