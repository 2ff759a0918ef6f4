#include "compose/charsets.h"
#include "config/clock.h"
#include "identity/identitymanager.h"
#include "identity/signaturecommand.h"
#include "ui/compose/composeattachments.h"
#include "ui/compose/composeeditor.h"
#include "ui/compose/composeheader.h"
#include "ui/compose/extrafields.h"
#include "ui/compose/sendlater.h"
#include "ui/compose/sendwindow.h"
#include "ui/look/askingbar.h"
#include "ui/look/messageboxes.h"

using namespace Qt::StringLiterals;

// From "Send" to the outbox: what is wrong is asked one after the other, and nothing leaves before all of it
// is answered.

void SendWindow::send(qint64 notBefore)
{
    if (m_isSending || m_isOver || m_isComposing)
        return;
    m_header->commit();
    if (!canBeSent())
        return;
    m_notBefore = notBefore;
    m_confirmed.clear();
    keepSoon();
    check();
}

/// What no answer can help: nobody to write as, files or a signature that are not there yet, fields that
/// would be lost on the way, a secret that cannot be kept.
bool SendWindow::canBeSent()
{
    if (!m_services.identities.identity(m_rest.identity.number)) {
        m_bar->tell(MessageBar::Kind::Error, tr("There is no identity to write as."));
        return false;
    }
    if (m_signing) {
        m_bar->tell(MessageBar::Kind::Information,
                    tr("The signature is still being made. Send the message when it is there."));
        return false;
    }
    if (m_attachments->isReading()) {
        m_bar->tell(MessageBar::Kind::Information,
                    tr("Files are still being attached. Send the message when they are there."));
        return false;
    }
    if (const QString problem = m_header->extra().problem(); !problem.isEmpty()) {
        m_bar->tell(MessageBar::Kind::Error, problem);
        m_header->extra().focusProblem();
        return false;
    }
    if (m_rest.encrypt)
        warnOfEncryption();
    return !m_rest.encrypt;
}

/// Everything that stands in the way; what the user has answered already does not.
void SendWindow::check()
{
    SendContext context;
    context.textAtFirst = m_textAtFirst;
    context.isArticle = m_isArticle;
    context.isReply = m_context.deed == DraftContext::Deed::Reply;
    context.isSubscribed = m_services.isSubscribed;
    context.isKnown = [this](const QString &address) { return !m_services.composer.isNew(address); };
    context.knownAddresses = m_services.composer.knownAddresses();
    m_isSending = true;
    QList<SendFinding> findings = checkBeforeSending(composition(), context);
    findings.removeIf([this](const SendFinding &each) {
        const bool isKept = each.problem == SendProblem::NewAddress && m_kept.contains(each.detail.toLower());
        return isKept || m_confirmed.contains(std::pair(each.problem, each.detail));
    });
    goThrough(std::move(findings));
}

void SendWindow::sendLater()
{
    askSendingTime(this, [this](qint64 seconds) { send(seconds); });
}

void SendWindow::goThrough(QList<SendFinding> findings)
{
    if (findings.isEmpty()) {
        handOver();
        return;
    }
    const SendFinding finding = findings.takeFirst();
    const SendProblemRow &row = rowOf(finding.problem);
    if (row.refuses)
        refuse(finding);
    else if (finding.problem == SendProblem::CharsetTooSmall)
        askCharset(finding, std::move(findings));
    else if (row.isQuiet)
        warn(finding);
    else
        ask(finding, std::move(findings));
}

void SendWindow::refuse(const SendFinding &finding)
{
    m_isSending = false;
    MessageBoxes::Question question;
    question.text = finding.text;
    question.buttons = {tr("OK")};
    question.level = ReportLevel::Warning;
    m_services.boxes.ask(question, this, [this](int) {
        if (!m_header->focusFirstEmpty())
            m_header->lastField()->setFocus();
    });
}

void SendWindow::ask(const SendFinding &finding, QList<SendFinding> rest)
{
    MessageBoxes::Question question;
    question.text = finding.text;
    question.buttons = {m_isArticle ? tr("&Post") : tr("&Send"), tr("&Edit")};
    const SendProblem problem = finding.problem;
    if (rowOf(problem).bit != 0) {
        question.neverAgain = tr("Don't ask me this again");
        question.whenTicked = [problem] { turnOff(problem); };
    }
    const auto answered = std::pair(problem, finding.detail);
    m_services.boxes.ask(question, this, [this, problem, answered, rest = std::move(rest)](int button) {
        if (button == 0) {
            m_confirmed.append(answered);
            goThrough(rest);
            return;
        }
        m_isSending = false;
        if (problem == SendProblem::NoSubject)
            m_header->lastField()->setFocus();
        else
            m_editor->setFocus();
    });
}

void SendWindow::askCharset(const SendFinding &finding, QList<SendFinding> rest)
{
    MessageBoxes::Question question;
    question.text = finding.text;
    const QByteArray suggested = finding.detail.toLatin1();
    // the one that goes back to the text stands last: it is what Esc means
    question.buttons = {tr("&Use Suggested Character Set"), tr("&Continue With Current Setting"),
                        tr("&Select Character Set Manually")};
    if (suggested.isEmpty())
        question.buttons.removeFirst();
    const int offset = suggested.isEmpty() ? 1 : 0;
    m_services.boxes.ask(question, this, [this, suggested, offset, rest = std::move(rest)](int button) {
        switch (button + offset) {
        case 0:
            m_rest.charset = suggested;
            changed();
            goThrough(rest);
            break;
        case 1:
            m_rest.charsetForced = true;
            m_confirmed.append({SendProblem::CharsetTooSmall, QString::fromLatin1(suggested)});
            goThrough(rest);
            break;
        default:
            m_isSending = false;
            m_bar->tell(MessageBar::Kind::Information,
                        tr("Choose the character set in the menu Options, then send the message."));
        }
    });
}

/// What is only worth a second look stands in the window; it is all looked at again when sending goes on,
/// because the message may be another one by then.
void SendWindow::warn(const SendFinding &finding)
{
    m_isSending = false;
    const auto goOn = [this, answered = std::pair(finding.problem, finding.detail)] {
        m_header->commit();
        m_confirmed.append(answered);
        if (canBeSent())
            check();
    };
    m_bar->ask(MessageBar::Kind::Warning, finding.text, remedyFor(finding),
               {m_isArticle ? tr("Post anyway") : tr("Send anyway"), goOn});
    if (rowOf(finding.problem).bit != 0)
        m_bar->offerTick(tr("Don't warn me about this again"),
                         [problem = finding.problem](bool on) { turnOff(problem, on); });
}

/// What would put it right; nothing where only the writer can.
AskingBar::Answer SendWindow::remedyFor(const SendFinding &finding)
{
    switch (finding.problem) {
    case SendProblem::AttachmentForgotten: return {tr("Attach…"), [this] { askForFiles(); }};
    case SendProblem::ManyRecipients: return {tr("Move to Bcc"), [this] { moveToBcc(); }};
    case SendProblem::NewAddress: break;
    default: return {};
    }
    const QString meant = similarTo(finding.detail);
    if (meant.isEmpty())
        return {};
    return {tr("Use %1").arg(nameOf(meant)),
            [this, address = finding.detail, meant] { replacePerson(address, meant); }};
}

void SendWindow::handOver()
{
    if (!canBeSent()) { // the program went on while something was asked
        m_isSending = false;
        return;
    }
    const Composition now = composition();
    SendWish wish;
    wish.draft = m_draft;
    wish.original = m_context.original;
    wish.isReply = m_context.deed == DraftContext::Deed::Reply;
    wish.isForward = m_context.deed == DraftContext::Deed::Forward;
    wish.notBefore = m_notBefore;
    keepVersion();
    const quint64 ticket = m_services.composer.send(now, wish);
    m_isSending = false;
    if (ticket == 0)
        return; // told already; everything stays as it is
    m_isOver = true;
    emit sent(ticket);
    close();
}
