#include "ui/options/optionpreviews.h"

#include "compose/quoting.h"
#include "message/message.h"

#include <QCoreApplication>

using namespace Qt::StringLiterals;

namespace {

const Message &example()
{
    static const Message s_example("From: Clara Winter <clara@tidewater.example>\n"
                                   "Date: Fri, 20 Nov 2026 11:31:20 +0000\n"
                                   "Subject: Proofs of the second volume\n"
                                   "Newsgroups: tidewater.proofs\n"
                                   "Message-ID: <proofs.2@tidewater.example>\n"
                                   "\n");
    return s_example;
}

} // namespace

QString previewQuote(const QString &prefix)
{
    return prefix + QCoreApplication::translate("Options", "Shall we print it as it is?");
}

QString previewAttribution(const QString &text)
{
    return filledAttribution(text, example());
}
