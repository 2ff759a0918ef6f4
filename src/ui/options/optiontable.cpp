#include "compose/charsets.h"
#include "compose/composition.h"
#include "ui/options/optionpreviews.h"
#include "ui/options/optionrow.h"

#include <QCoreApplication>

using namespace Qt::StringLiterals;

#define WORDS(text) QT_TRANSLATE_NOOP("Options", text)

namespace {

constexpr std::array kPages = {
    OptionPageRow{OptionPage::Writing, "compose", WORDS("Writing")},
    OptionPageRow{OptionPage::Replies, "reply", WORDS("Replies")},
    OptionPageRow{OptionPage::Sending, "send", WORDS("Sending")},
    OptionPageRow{OptionPage::Format, "file-text", WORDS("Message format")},
};
static_assert(kPages.size() == kOptionPageCount);
static_assert([] {
    for (std::size_t i = 0; i < kPages.size(); ++i)
        if (kPages[i].page != OptionPage(i))
            return false;
    return true;
}());

constexpr int kLeastLine = 40;
constexpr int kLongestLine = 998; // RFC 5322 section 2.1.1
constexpr int kMostSeconds = 3600;
constexpr int kMostRecipients = 10'000;

QList<OptionChoice> undoDelays()
{
    QList<OptionChoice> choices = {{0, optionWords(WORDS("Not at all"))}};
    for (const int seconds : {5, 10, 30, 60})
        choices.append({seconds, optionWords(WORDS("For %1 seconds")).arg(seconds)});
    return choices;
}

QList<OptionChoice> receiptAnswers()
{
    return {{0, optionWords(WORDS("Never send it"))},
            {1, optionWords(WORDS("Ask me each time"))},
            {2, optionWords(WORDS("Always send it"))}};
}

QList<OptionChoice> mailFiles()
{
    return {{int(AttachmentForm::Mime), optionWords(WORDS("MIME parts"))},
            {int(AttachmentForm::Uuencode), optionWords(WORDS("uuencoded, inside the text"))}};
}

QList<OptionChoice> newsFiles()
{
    return mailFiles() +
           QList<OptionChoice>{{int(AttachmentForm::Yenc), optionWords(WORDS("yEnc, inside the text"))}};
}

struct CharsetWords
{
    const char *charset;
    const char *words;
};
constexpr CharsetWords kCharsetWords[] = {
    {"UTF-8", WORDS("every language")},
    {"ISO-8859-1", WORDS("Western Europe")},
    {"ISO-8859-15", WORDS("Western Europe with €")},
    {"windows-1252", WORDS("Western Europe")},
    {"ISO-8859-2", WORDS("Central Europe")},
    {"windows-1250", WORDS("Central Europe")},
    {"ISO-8859-3", WORDS("Southern Europe")},
    {"ISO-8859-4", WORDS("Northern Europe")},
    {"ISO-8859-13", WORDS("Baltic")},
    {"windows-1257", WORDS("Baltic")},
    {"ISO-8859-5", WORDS("Cyrillic")},
    {"KOI8-R", WORDS("Russian")},
    {"KOI8-U", WORDS("Ukrainian")},
    {"windows-1251", WORDS("Cyrillic")},
    {"ISO-8859-6", WORDS("Arabic")},
    {"windows-1256", WORDS("Arabic")},
    {"ISO-8859-7", WORDS("Greek")},
    {"windows-1253", WORDS("Greek")},
    {"ISO-8859-8", WORDS("Hebrew")},
    {"windows-1255", WORDS("Hebrew")},
    {"ISO-8859-9", WORDS("Turkish")},
    {"windows-1254", WORDS("Turkish")},
    {"windows-1258", WORDS("Vietnamese")},
    {"TIS-620", WORDS("Thai")},
    {"ISO-2022-JP", WORDS("Japanese")},
    {"Shift_JIS", WORDS("Japanese")},
    {"EUC-JP", WORDS("Japanese")},
    {"GB2312", WORDS("simplified Chinese")},
    {"GB18030", WORDS("every language, in China")},
    {"Big5", WORDS("traditional Chinese")},
    {"EUC-KR", WORDS("Korean")},
};

/// `CharacterSet` counts the offered sets.
QList<OptionChoice> charsets()
{
    QList<OptionChoice> choices;
    for (const QByteArray &charset : offeredCharsets()) {
        const auto row =
            std::find_if(std::begin(kCharsetWords), std::end(kCharsetWords),
                         [&charset](const CharsetWords &each) { return charset == each.charset; });
        const QString name = QString::fromLatin1(charset);
        choices.append({int(choices.size()),
                        row == std::end(kCharsetWords) ? name : name + u" · "_s + optionWords(row->words)});
    }
    return choices;
}

using enum OptionKind;

constexpr OptionRow warning(SendProblem problem, const char *text, const char *section = "",
                            const char *label = "", const char *hint = "")
{
    return {.page = OptionPage::Sending,
            .kind = Check,
            .setting = Setting::DisabledWarnings,
            .section = section,
            .label = label,
            .text = text,
            .hint = hint,
            .store = OptionStore::Warning,
            .problem = problem};
}

constexpr std::array kRows = {
    OptionRow{.page = OptionPage::Writing,
              .kind = Check,
              .setting = Setting::SendRichTextMail,
              .section = WORDS("Text"),
              .label = WORDS("Formatted text"),
              .text = WORDS("In new mail")},
    OptionRow{.page = OptionPage::Writing,
              .kind = Check,
              .setting = Setting::SendRichTextNews,
              .text = WORDS("In new posts to newsgroups"),
              .hint = WORDS("Each message can be switched in its own window.")},
    OptionRow{.page = OptionPage::Writing,
              .kind = Font,
              .setting = Setting::SendFont,
              .label = WORDS("Font while I write")},
    OptionRow{.page = OptionPage::Writing,
              .kind = Colour,
              .setting = Setting::SendColourFG,
              .label = WORDS("Colour of the text")},
    OptionRow{.page = OptionPage::Writing,
              .kind = Colour,
              .setting = Setting::SendColourBG,
              .label = WORDS("Colour of the background"),
              .hint = WORDS("Font and colours are only for your own eyes: they are not sent.")},
    OptionRow{.page = OptionPage::Writing,
              .kind = Check,
              .setting = Setting::SendWrapText,
              .section = WORDS("Lines of plain text"),
              .label = WORDS("Break long lines"),
              .text = WORDS("When a message is sent")},
    OptionRow{.page = OptionPage::Writing,
              .kind = Check,
              .setting = Setting::AutoWrapCompose,
              .text = WORDS("While I type")},
    OptionRow{.page = OptionPage::Writing,
              .kind = Number,
              .setting = Setting::SendWrapWidth,
              .label = WORDS("Length of a line"),
              .text = WORDS("characters"),
              .hint = WORDS("Up to 78 read well in every program. Quoted lines stay as they are."),
              .least = kLeastLine,
              .most = kLongestLine},
    OptionRow{.page = OptionPage::Writing,
              .kind = Check,
              .setting = Setting::EditHeaders,
              .section = WORDS("Every new message"),
              .label = WORDS("Show"),
              .text = WORDS("More header fields")},
    OptionRow{.page = OptionPage::Writing,
              .kind = Check,
              .setting = Setting::ReceiptsByDefault,
              .label = WORDS("Ask for"),
              .text = WORDS("A receipt that the mail was read")},
    OptionRow{.page = OptionPage::Writing,
              .kind = Number,
              .setting = Setting::SendAutoSaveInterval,
              .label = WORDS("Save the draft every"),
              .text = WORDS("seconds"),
              .hint = WORDS("Besides that, whenever you pause or go to another window. 0: only then."),
              .least = 0,
              .most = kMostSeconds},

    OptionRow{.page = OptionPage::Replies,
              .kind = Check,
              .setting = Setting::QuoteText,
              .section = WORDS("Quotation"),
              .label = WORDS("Quote"),
              .text = WORDS("The text that is answered"),
              .hint = WORDS("Text that you have selected is quoted in any case.")},
    OptionRow{.page = OptionPage::Replies,
              .kind = Check,
              .setting = Setting::QuoteSigs,
              .text = WORDS("The signature below it as well")},
    OptionRow{.page = OptionPage::Replies,
              .kind = Line,
              .setting = Setting::QuotePrefix,
              .label = WORDS("Before each line"),
              .preview = previewQuote},
    OptionRow{.page = OptionPage::Replies,
              .kind = Line,
              .setting = Setting::AttributionText,
              .section = WORDS("Line above the quotation"),
              .label = WORDS("In a reply to several"),
              .preview = previewAttribution},
    OptionRow{.page = OptionPage::Replies,
              .kind = Line,
              .setting = Setting::AttributionTextPersonal,
              .label = WORDS("In a reply to the author alone"),
              .hint = WORDS("%f name, %e address, %F both, %d date, %t time, %s subject, %n newsgroups, "
                            "%D and %i the fields Date and Message-ID, %% a percent sign"),
              .preview = previewAttribution},
    OptionRow{.page = OptionPage::Replies,
              .kind = Check,
              .setting = Setting::UnflagOnReply,
              .section = WORDS("The message that was answered"),
              .label = WORDS("Afterwards"),
              .text = WORDS("Take its flag away")},
    OptionRow{.page = OptionPage::Replies,
              .kind = Check,
              .setting = Setting::CloseMessageOnReply,
              .text = WORDS("Close its window")},

    OptionRow{.page = OptionPage::Sending,
              .kind = Check,
              .setting = Setting::AutoSend,
              .section = WORDS("On its way"),
              .label = WORDS("Send"),
              .text = WORDS("By itself"),
              .hint = WORDS("Otherwise finished messages stay in the outbox until you send what waits.")},
    OptionRow{.page = OptionPage::Sending,
              .kind = Choice,
              .setting = {},
              .label = WORDS("Sending can be undone"),
              .store = OptionStore::UndoDelay,
              .choices = undoDelays},
    OptionRow{.page = OptionPage::Sending,
              .kind = Number,
              .setting = Setting::MaxSMTPRecipients,
              .label = WORDS("At once to at most"),
              .text = WORDS("recipients"),
              .hint = WORDS("Servers refuse too many at once; the rest is served right after them. "
                            "0: all at once."),
              .least = 0,
              .most = kMostRecipients},
    OptionRow{.page = OptionPage::Sending,
              .kind = Check,
              .setting = Setting::KeepSentMail,
              .section = WORDS("Copies"),
              .label = WORDS("Keep a copy of"),
              .text = WORDS("Sent mail")},
    OptionRow{.page = OptionPage::Sending,
              .kind = Check,
              .setting = Setting::KeepBouncedMail,
              .text = WORDS("Mail that was resent to somebody else")},
    OptionRow{.page = OptionPage::Sending,
              .kind = Check,
              .setting = Setting::KeepSentNews,
              .text = WORDS("Posts to newsgroups")},
    OptionRow{.page = OptionPage::Sending,
              .kind = Check,
              .setting = Setting::FileInSameFolder,
              .label = WORDS("Replies"),
              .text = WORDS("Beside the message that they answer")},
    OptionRow{.page = OptionPage::Sending,
              .kind = Check,
              .setting = Setting::MarkReadOnSend,
              .label = WORDS("Mark as read"),
              .text = WORDS("Copies in Sent mail and Sent news")},
    OptionRow{.page = OptionPage::Sending,
              .kind = Check,
              .setting = Setting::MarkReadOnSendFile,
              .text = WORDS("Copies in any other folder")},
    OptionRow{.page = OptionPage::Sending,
              .kind = Choice,
              .setting = Setting::SendReadReceipts,
              .section = WORDS("Receipts that others ask for"),
              .label = WORDS("When I have read the mail"),
              .hint =
                  WORDS("You are asked in any case when it would go to another address than the sender's."),
              .choices = receiptAnswers},
    warning(SendProblem::AttachmentForgotten, WORDS("The text speaks of an attachment, and there is none"),
            WORDS("Before a message goes"), WORDS("Stop me when")),
    warning(SendProblem::NoSubject, WORDS("It has no subject")),
    warning(SendProblem::NoContent, WORDS("It has no text")),
    warning(SendProblem::Unmodified, WORDS("Nothing was written in a reply")),
    warning(SendProblem::OnlyQuoted, WORDS("All of its text is quoted")),
    warning(SendProblem::ManyRecipients, WORDS("Many recipients would see each other's addresses")),
    warning(SendProblem::NewAddress, WORDS("An address is new, or nearly a known one")),
    warning(SendProblem::NotSubscribed, WORDS("A newsgroup is not subscribed to")),
    warning(SendProblem::BinariesToTextGroup, WORDS("Files would go to a newsgroup for texts")),

    OptionRow{.page = OptionPage::Format,
              .kind = Choice,
              .setting = Setting::CharacterSet,
              .section = WORDS("Characters"),
              .label = WORDS("Character set"),
              .hint = WORDS("For new messages. You are asked when it cannot hold what you wrote."),
              .choices = charsets},
    OptionRow{.page = OptionPage::Format,
              .kind = Check,
              .setting = Setting::ForceQP,
              .label = WORDS("Quoted-printable"),
              .text = WORDS("For all text that is not plain English letters"),
              .hint = WORDS("Makes messages longer; for servers that damage other characters.")},
    OptionRow{.page = OptionPage::Format,
              .kind = Choice,
              .setting = Setting::UseMIMEForMail,
              .section = WORDS("Attached files"),
              .label = WORDS("In mail"),
              .hint = WORDS("Every mail program reads MIME parts. What stands inside the text is for readers "
                            "with very old programs, and for plain text only."),
              .store = OptionStore::MailFiles,
              .choices = mailFiles},
    OptionRow{.page = OptionPage::Format,
              .kind = Choice,
              .setting = Setting::UseMIMEForNews,
              .label = WORDS("In newsgroups"),
              .store = OptionStore::NewsFiles,
              .choices = newsFiles},
};

} // namespace

const OptionPageRow &rowOf(OptionPage page)
{
    return kPages[std::size_t(page)];
}

std::span<const OptionRow> optionRows()
{
    return kRows;
}

QString optionWords(const char *text)
{
    return *text ? QCoreApplication::translate("Options", text) : QString();
}

QString optionName(const OptionRow &row)
{
    const OptionRow *named = &row;
    while (!*named->label)
        --named;
    const QString label = optionWords(named->label);
    return row.kind == Check ? label + u": "_s + optionWords(row.text) : label;
}
