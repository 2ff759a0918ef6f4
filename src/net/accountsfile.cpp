#include "net/accountsfile.h"

using namespace Qt::StringLiterals;

namespace {

constexpr ListFileTexts kTexts = {"Unable to read accounts file", "Unable to write accounts file",
                                  "Unable to backup accounts file"};

/// A field that stands behind its letter: how it is written and read.
struct LetterField
{
    char letter;
    QString (*text)(const Account &);
    void (*take)(Account &, const QString &);
};

template <auto Member>
QString numberText(const Account &account)
{
    return QString::number(qint64(account.*Member));
}

template <auto Member>
void takeNumber(Account &account, const QString &text)
{
    using Number = std::remove_reference_t<decltype(account.*Member)>;
    account.*Member = Number(text.toLongLong());
}

template <char Letter>
QString otherText(const Account &account)
{
    return account.others.value(Letter);
}

/// The same for a field that holds a number, so that nobody meets an empty one.
template <char Letter>
QString otherNumber(const Account &account)
{
    const QString text = account.others.value(Letter);
    return text.isEmpty() ? u"0"_s : text;
}

template <char Letter>
void takeOther(Account &account, const QString &text)
{
    account.others.insert(Letter, text);
}

QString kindText(const Account &account)
{
    return QString::number(int(account.kind));
}

void takeKind(Account &account, const QString &text)
{
    const int kind = text.toInt();
    account.kind = kind > 0 && kind < int(kAccountKinds.size()) ? AccountKind(kind) : AccountKind::None;
}

constexpr LetterField kFields[] = {
    // the order of the line; the reader takes any order
    {'A', &numberText<&Account::number>, &takeNumber<&Account::number>},
    {'T', &kindText, &takeKind},
    {'P', &numberText<&Account::port>, &takeNumber<&Account::port>},
    {'L', &numberText<&Account::fetchInterval>, &takeNumber<&Account::fetchInterval>},
    {'F', &numberText<&Account::flags>, &takeNumber<&Account::flags>},
    {'H', &otherText<'H'>, &takeOther<'H'>},
    {'E', &otherNumber<'E'>, &takeOther<'E'>},
    {'C', &numberText<&Account::connections>, &takeNumber<&Account::connections>},
    {'G', &otherNumber<'G'>, &takeOther<'G'>},
    {'N', &otherNumber<'N'>, &takeOther<'N'>},
    {'I', &otherNumber<'I'>, &takeOther<'I'>},
    {'V', &otherNumber<'V'>, &takeOther<'V'>},
    {'S', &otherText<'S'>, &takeOther<'S'>},
    {'W', &numberText<&Account::chained>, &takeNumber<&Account::chained>},
    {'D', &otherNumber<'D'>, &takeOther<'D'>},
    {'R', &otherNumber<'R'>, &takeOther<'R'>},
};

constexpr QString Account::*kLeadingFields[] = {&Account::name, &Account::host, &Account::user,
                                                &Account::password};

/// A leading field is bare: a backslash stands for itself, and what would end the field becomes a blank.
QString bareText(QString text)
{
    for (const QChar separator : {u'\t', u'\n', u'\r'})
        text.replace(separator, u' ');
    return text;
}

QString lineOf(const Account &account)
{
    QStringList fields;
    for (QString Account::*field : kLeadingFields)
        fields += bareText(account.*field);
    for (const LetterField &field : kFields)
        fields += QLatin1Char(field.letter) + field.text(account);
    return fields.join(u'\t');
}

Account accountOf(const QString &line)
{
    Account account;
    const QStringList pieces = line.split(u'\t');
    qsizetype next = 0;
    for (QString Account::*field : kLeadingFields)
        account.*field = next < pieces.size() ? pieces[next++] : QString();
    for (; next < pieces.size(); ++next) {
        const QString &piece = pieces[next];
        for (const LetterField &field : kFields) {
            if (piece.startsWith(QLatin1Char(field.letter)))
                field.take(account, piece.sliced(1));
        }
    }
    return account;
}

} // namespace

AccountKind accountKindOf(const QString &word)
{
    for (std::size_t i = 1; i < kAccountKinds.size(); ++i) {
        if (word == QLatin1String(kAccountKinds[i].word))
            return AccountKind(i);
    }
    return AccountKind::None;
}

AccountsFile::AccountsFile()
    : m_file(u"Accounts/Index"_s, kTexts)
{}

AccountsFile::Contents AccountsFile::read()
{
    Contents contents;
    const ListFile::Contents file = m_file.read();
    if (file.lines.isEmpty())
        return contents;
    contents.counter = file.lines.first().toInt();
    for (const QString &line : file.lines.sliced(1)) {
        contents.accounts.push_back(accountOf(line));
        contents.counter = qMax(contents.counter, contents.accounts.back().number);
    }
    return contents;
}

bool AccountsFile::write(const Contents &contents)
{
    QStringList lines = {QString::number(contents.counter)};
    for (const Account &account : contents.accounts)
        lines += lineOf(account);
    return m_file.write(lines);
}
