#include "cli/arguments.h"
#include "cli/command.h"
#include "cli/sendrun.h"
#include "cli/terminalquestions.h"
#include "net/keyring/desktopkeyring.h"

#include <algorithm>

ExitStatus runSend(Session &session, const QStringList &words)
{
    const Arguments arguments(words, {}, {});
    if (!arguments.problem().isEmpty() || !arguments.plain().isEmpty())
        return wrongUsage(session,
                          arguments.problems() + (arguments.plain().isEmpty()
                                                      ? QStringList()
                                                      : QStringList{QStringLiteral("send takes nothing")}));
    if (!session.open(Session::Purpose::Write) || !session.hasAccounts())
        return ExitStatus::Failed;
    Engine &engine = session.engine();
    // Whoever keeps no password there needs no desktop to talk to.
    DesktopKeyring keyring;
    const std::vector<AccountData> all = engine.accounts().all();
    if (std::any_of(all.begin(), all.end(), [](const AccountData &one) {
            return one.kind == AccountKind::Smtp && one.has(AccountKeyring);
        }))
        engine.setPasswordKeeper(&keyring);
    TerminalQuestions questions(session.output());
    if (TerminalQuestions::isPossible())
        engine.setQuestions(&questions);
    const bool good = SendRun(session).run();
    engine.setQuestions(nullptr);
    engine.setPasswordKeeper(nullptr);
    return good ? ExitStatus::Done : ExitStatus::Failed;
}
