#include "ui/compose/composeactions.h"

#include <QAction>
#include <QActionGroup>
#include <QMenu>
#include <QWidget>

namespace {

constexpr char kContext[] = "ComposeActions";
constexpr unsigned kChecks = ActionRow::Checks;
constexpr unsigned kSeparates = ActionRow::Separates;

struct ActRow
{
    ComposeAct act;
    ActionRow row;
};

#define TEXT(words) QT_TRANSLATE_NOOP("ComposeActions", words)

constexpr std::array kActs = {
    ActRow{ComposeAct::Send, {"compose.send", TEXT("&Send"), "send", "Ctrl+Return Ctrl+Enter"}},
    ActRow{ComposeAct::SendLater,
           {"compose.sendLater", TEXT("Send &later…"), "snooze", "Ctrl+Shift+Return Ctrl+Shift+Enter"}},
    ActRow{ComposeAct::SaveDraft, {"compose.save", TEXT("Save &draft"), "save", "Ctrl+S", 0, kSeparates}},
    ActRow{ComposeAct::History,
           {"compose.history", TEXT("Earlier &versions…"), "undo", "", ComposeNeedsVersions}},
    ActRow{ComposeAct::Attach, {"compose.attach", TEXT("&Attach…"), "attach", "Ctrl+Shift+A", 0, kSeparates}},
    ActRow{ComposeAct::Discard, {"compose.discard", TEXT("Dis&card draft"), "delete", "", 0, kSeparates}},
    ActRow{ComposeAct::Close, {"compose.close", TEXT("Cl&ose"), "close", "Ctrl+W"}},

    ActRow{ComposeAct::Undo, {"compose.undo", TEXT("&Undo"), "undo", "Ctrl+Z", ComposeNeedsUndo}},
    ActRow{ComposeAct::Redo,
           {"compose.redo", TEXT("&Redo"), "redo", "Ctrl+Shift+Z Ctrl+Y", ComposeNeedsRedo}},
    ActRow{ComposeAct::Cut,
           {"compose.cut", TEXT("Cu&t"), "cut", "Ctrl+X Shift+Del", 0, kSeparates | ActionRow::Local}},
    ActRow{ComposeAct::Copy, {"compose.copy", TEXT("&Copy"), "copy", "Ctrl+C Ctrl+Ins", 0, ActionRow::Local}},
    ActRow{ComposeAct::Paste,
           {"compose.paste", TEXT("&Paste"), "paste", "Ctrl+V Shift+Ins", 0, ActionRow::Local}},
    ActRow{ComposeAct::PastePlain, {"compose.pastePlain", TEXT("Paste with&out format"), "", "Ctrl+Shift+V"}},
    ActRow{ComposeAct::PasteQuoted, {"compose.pasteQuoted", TEXT("Paste as &quotation"), "", "Ctrl+Shift+O"}},
    ActRow{ComposeAct::SelectAll,
           {"compose.selectAll", TEXT("Select &all"), "", "Ctrl+A", 0, ActionRow::Local}},
    ActRow{ComposeAct::Rewrap,
           {"compose.rewrap", TEXT("Re&wrap"), "", "Ctrl+R", ComposeNeedsPlain, kSeparates}},
    ActRow{ComposeAct::QuoteMore,
           {"compose.quoteMore", TEXT("Quote deep&er"), "", "Ctrl+]", ComposeNeedsPlain}},
    ActRow{ComposeAct::QuoteLess,
           {"compose.quoteLess", TEXT("Quote &less"), "", "Ctrl+[", ComposeNeedsPlain}},
    ActRow{ComposeAct::Find, {"compose.find", TEXT("&Find…"), "search", "Ctrl+F", 0, kSeparates}},
    ActRow{ComposeAct::FindNext, {"compose.findNext", TEXT("Find &next"), "", "F3 Ctrl+G"}},
    ActRow{ComposeAct::FindPrevious, {"compose.findPrevious", TEXT("Find pre&vious"), "", "Shift+F3"}},
    ActRow{ComposeAct::Replace, {"compose.replace", TEXT("Replace…"), "", "Ctrl+Shift+F"}},

    ActRow{ComposeAct::ShowTo, {"compose.to", TEXT("&To"), "", "", ComposeNeedsArticle, kChecks}},
    ActRow{ComposeAct::ShowCc, {"compose.cc", TEXT("&Cc"), "", "Ctrl+Shift+C", 0, kChecks}},
    ActRow{ComposeAct::ShowBcc, {"compose.bcc", TEXT("&Bcc"), "", "Ctrl+Shift+B", 0, kChecks}},
    ActRow{ComposeAct::ShowReplyTo, {"compose.replyTo", TEXT("&Reply-To"), "", "", 0, kChecks}},
    ActRow{ComposeAct::ShowFollowupTo,
           {"compose.followupTo", TEXT("&Followup-To"), "", "", ComposeNeedsArticle, kChecks}},
    ActRow{ComposeAct::ShowDistribution,
           {"compose.distribution", TEXT("&Distribution"), "", "", ComposeNeedsArticle, kChecks}},
    ActRow{ComposeAct::MoreFields,
           {"compose.headers", TEXT("&More header fields"), "headers", "", 0, kChecks | kSeparates}},
    ActRow{ComposeAct::NextPane, {"compose.nextPane", TEXT("&Next pane"), "", "F6", 0, kSeparates}},
    ActRow{ComposeAct::PreviousPane, {"compose.previousPane", TEXT("&Previous pane"), "", "Shift+F6"}},

    ActRow{ComposeAct::InsertFile, {"compose.insertFile", TEXT("Text from a &file…"), "file-text", ""}},
    ActRow{ComposeAct::InsertPicture,
           {"compose.insertPicture", TEXT("&Picture…"), "image", "", ComposeNeedsRich}},
    ActRow{ComposeAct::InsertSignature,
           {"compose.signature", TEXT("&Signature"), "identity", "", 0, kSeparates}},
    ActRow{ComposeAct::InsertTemplate, {"compose.template", TEXT("&Template"), "template", ""}},

    ActRow{ComposeAct::Rich, {"compose.rich", TEXT("&Formatted text"), "", "Ctrl+Shift+R", 0, kChecks}},
    ActRow{ComposeAct::Bold,
           {"compose.bold", TEXT("&Bold"), "bold", "Ctrl+B", ComposeNeedsRich, kChecks | kSeparates}},
    ActRow{ComposeAct::Italic,
           {"compose.italic", TEXT("&Italic"), "italic", "Ctrl+I", ComposeNeedsRich, kChecks}},
    ActRow{ComposeAct::Underline,
           {"compose.underline", TEXT("&Underline"), "underline", "Ctrl+U", ComposeNeedsRich, kChecks}},
    ActRow{ComposeAct::Colour,
           {"compose.colour", TEXT("&Colour of the text…"), "colour", "", ComposeNeedsRich}},
    ActRow{ComposeAct::AlignLeft,
           {"compose.alignLeft", TEXT("Align &left"), "align-left", "Ctrl+L", ComposeNeedsRich,
            kChecks | kSeparates}},
    ActRow{ComposeAct::AlignCentre,
           {"compose.alignCentre", TEXT("C&entre"), "align-centre", "Ctrl+E", ComposeNeedsRich, kChecks}},
    ActRow{ComposeAct::AlignRight,
           {"compose.alignRight", TEXT("Align &right"), "align-right", "", ComposeNeedsRich, kChecks}},
    ActRow{ComposeAct::Justify,
           {"compose.justify", TEXT("&Justify"), "justify", "Ctrl+J", ComposeNeedsRich, kChecks}},
    ActRow{ComposeAct::Bullets,
           {"compose.bullets", TEXT("Bullet li&st"), "bullets", "", ComposeNeedsRich, kChecks | kSeparates}},
    ActRow{ComposeAct::Numbered,
           {"compose.numbered", TEXT("&Numbered list"), "numbered", "", ComposeNeedsRich, kChecks}},

    ActRow{ComposeAct::ImportanceHigh, {"compose.important", TEXT("&High importance"), "", "", 0, kChecks}},
    ActRow{ComposeAct::ImportanceLow, {"compose.unimportant", TEXT("&Low importance"), "", "", 0, kChecks}},
    ActRow{ComposeAct::Receipt,
           {"compose.receipt", TEXT("Ask for a &receipt"), "receipt", "", 0, kChecks | kSeparates}},
    ActRow{ComposeAct::RefuseArchive,
           {"compose.noArchive", TEXT("Not to be &archived"), "archive", "", 0, kChecks}},
    ActRow{ComposeAct::Wrap, {"compose.wrap", TEXT("&Wrap the text"), "", "", 0, kChecks | kSeparates}},
    ActRow{ComposeAct::Charset, {"compose.charset", TEXT("Character &set"), "font", ""}},
    ActRow{ComposeAct::FileForm, {"compose.fileForm", TEXT("A&ttachments as"), "", ""}},
    ActRow{ComposeAct::UndoDelay, {"compose.undoDelay", TEXT("&Undo sending"), "undo", "", 0, kSeparates}},
    ActRow{ComposeAct::Warnings, {"compose.warnings", TEXT("War&n before sending"), "warning", ""}},

    ActRow{ComposeAct::Palette, {"help.palette", TEXT("Find an &action…"), "search", "Ctrl+Shift+P"}},
    ActRow{ComposeAct::Keys, {"help.keys", TEXT("&Keys"), "keyboard", "F1"}},
};
#undef TEXT
static_assert(kActs.size() == kComposeActCount);

struct Letter
{
    char16_t letter;
    ComposeAct act;
};
constexpr Letter kMainLetters[] = {
    {u'S', ComposeAct::Send},    {u'D', ComposeAct::SaveDraft},      {u'A', ComposeAct::Attach},
    {u'u', ComposeAct::Undo},    {u'R', ComposeAct::Redo},           {u'X', ComposeAct::Cut},
    {u'C', ComposeAct::Copy},    {u'V', ComposeAct::Paste},          {u'H', ComposeAct::MoreFields},
    {u'r', ComposeAct::Receipt}, {u'T', ComposeAct::InsertTemplate},
};
constexpr Letter kFormatLetters[] = {
    {u'B', ComposeAct::Bold},      {u'I', ComposeAct::Italic},      {u'U', ComposeAct::Underline},
    {u'<', ComposeAct::AlignLeft}, {u'|', ComposeAct::AlignCentre}, {u'>', ComposeAct::AlignRight},
    {u'-', ComposeAct::Justify},   {u'b', ComposeAct::Bullets},     {u'N', ComposeAct::Numbered},
    {u'c', ComposeAct::Colour},
};

} // namespace

ComposeActions::ComposeActions(ActionRegistry &registry)
{
    for (const ActRow &each : kActs)
        m_actions[std::size_t(each.act)] = registry.add(each.row, kContext);
    auto *alignment = new QActionGroup(registry.window());
    for (const ComposeAct act :
         {ComposeAct::AlignLeft, ComposeAct::AlignCentre, ComposeAct::AlignRight, ComposeAct::Justify})
        alignment->addAction((*this)[act]);
}

QAction *ComposeActions::forLetter(char16_t letter, bool formatBar) const
{
    const auto find = [&](const auto &letters) -> QAction * {
        for (const Letter &each : letters)
            if (each.letter == letter)
                return (*this)[each.act];
        return nullptr;
    };
    return formatBar ? find(kFormatLetters) : find(kMainLetters);
}

void ComposeActions::addTo(QMenu *menu, ComposeAct first, ComposeAct last) const
{
    for (int i = int(first); i <= int(last); ++i) {
        if (kActs[std::size_t(i)].row.traits & ActionRow::Separates && !menu->isEmpty())
            menu->addSeparator();
        menu->addAction(m_actions[std::size_t(i)]);
    }
}
