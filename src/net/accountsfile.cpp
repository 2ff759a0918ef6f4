#include "net/accountsfile.h"

#include "config/directory.h"
#include "config/files.h"
#include "config/reporter.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <limits>

using namespace Qt::StringLiterals;

namespace {

constexpr ListFileTexts kTexts = {"Unable to read accounts file", "Unable to write accounts file",
                                  "Unable to backup accounts file"};

constexpr qint64 kMostKept = 16 * 1024 * 1024; ///< bytes of a damaged file that are kept

constexpr int kHighestNumber = 1'000'000'000; ///< a greater one is garbage, and could not be counted on from

/// A field that stands behind its letter: how it is written and read.
struct LetterField
{
    char letter;
    QString (*text)(const AccountData &);
    void (*take)(AccountData &, const QString &);
};

template <auto Member>
QString numberText(const AccountData &account)
{
    return QString::number(qint64(account.*Member));
}

template <auto Member>
void takeNumber(AccountData &account, const QString &text)
{
    using Number = std::remove_reference_t<decltype(account.*Member)>;
    const qint64 least = std::numeric_limits<Number>::min();
    const qint64 most = std::numeric_limits<Number>::max();
    account.*Member = Number(std::clamp(qint64(text.toLongLong()), least, most));
}

template <char Letter>
QString otherText(const AccountData &account)
{
    return account.others.value(Letter);
}

/// The same for a field that holds a number, so that nobody meets an empty one.
template <char Letter>
QString otherNumber(const AccountData &account)
{
    const QString text = account.others.value(Letter);
    return text.isEmpty() ? u"0"_s : text;
}

template <char Letter>
void takeOther(AccountData &account, const QString &text)
{
    account.others.insert(Letter, text);
}

QString addressText(const AccountData &account)
{
    return account.address;
}

void takeAddress(AccountData &account, const QString &text)
{
    account.address = text;
}

QString kindText(const AccountData &account)
{
    return QString::number(int(account.kind));
}

void takeKind(AccountData &account, const QString &text)
{
    const int kind = text.toInt();
    account.kind = kind > 0 && kind < int(kAccountKinds.size()) ? AccountKind(kind) : AccountKind::None;
}

constexpr LetterField kFields[] = {
    // the order of the line; the reader takes any order
    {'A', &numberText<&AccountData::number>, &takeNumber<&AccountData::number>},
    {'T', &kindText, &takeKind},
    {'P', &numberText<&AccountData::port>, &takeNumber<&AccountData::port>},
    {'L', &numberText<&AccountData::fetchInterval>, &takeNumber<&AccountData::fetchInterval>},
    {'F', &numberText<&AccountData::flags>, &takeNumber<&AccountData::flags>},
    {'H', &addressText, &takeAddress},
    {'E', &numberText<&AccountData::sizeLimit>, &takeNumber<&AccountData::sizeLimit>},
    {'C', &numberText<&AccountData::connections>, &takeNumber<&AccountData::connections>},
    {'G', &numberText<&AccountData::group>, &takeNumber<&AccountData::group>},
    {'N', &otherNumber<'N'>, &takeOther<'N'>},
    {'I', &numberText<&AccountData::identity>, &takeNumber<&AccountData::identity>},
    {'V', &otherNumber<'V'>, &takeOther<'V'>},
    {'S', &otherText<'S'>, &takeOther<'S'>},
    {'W', &numberText<&AccountData::chained>, &takeNumber<&AccountData::chained>},
    {'D', &numberText<&AccountData::daysOnServer>, &takeNumber<&AccountData::daysOnServer>},
    {'R', &otherNumber<'R'>, &takeOther<'R'>},
};

constexpr QString AccountData::*kLeadingFields[] = {&AccountData::name, &AccountData::host,
                                                    &AccountData::user, &AccountData::password};

QString lineOf(const AccountData &account)
{
    QStringList fields;
    for (QString AccountData::*field : kLeadingFields)
        fields += account.*field;
    for (const LetterField &field : kFields)
        fields += QLatin1Char(field.letter) + field.text(account);
    return fields.join(u'\t');
}

/// The line of an account with nothing in the place of its password.
QByteArray withoutPasswordField(const QByteArray &line)
{
    QList<QByteArray> fields = line.split('\t');
    const qsizetype password = std::size(kLeadingFields) - 1;
    if (fields.size() <= password)
        return line;
    fields[password].clear();
    return fields.join('\t');
}

/// Passwords lie in it. An earlier file may have been open to others, and keeps its permissions when copied.
void makePrivate(const QString &path)
{
    const QFile::Permissions own = QFile::ReadOwner | QFile::WriteOwner;
    const QFile::Permissions others = QFile::ReadGroup | QFile::WriteGroup | QFile::ExeGroup |
                                      QFile::ReadOther | QFile::WriteOther | QFile::ExeOther;
    if (storeAccess() == StoreAccess::ReadWrite && (QFile::permissions(path) & others) != 0)
        QFile::setPermissions(path, own);
}

AccountData accountOf(const QString &line)
{
    AccountData account;
    const QStringList pieces = line.split(u'\t');
    qsizetype next = 0;
    for (QString AccountData::*field : kLeadingFields)
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

/// Where a line was cut in its flags, what is left of them may send a password in the clear, or delete mail
/// on a server that was to keep it. So nothing happens before somebody has looked.
void leaveOut(AccountData &account)
{
    account.set(AccountLeftOut, true);
    note(u"Account '%1' may be incomplete and is left out of fetches"_s.arg(account.name));
}

/// From the damaged files that were kept beside the one at @p path: nobody looks after what lies in them.
/// Those that cannot be written without go.
void takePasswordsOut(const QString &path)
{
    if (storeAccess() == StoreAccess::ReadOnly)
        return;
    const QFileInfo index(path);
    const QStringList kept = index.dir().entryList({index.fileName() + u".damaged-*"_s}, QDir::Files);
    for (const QString &name : kept) {
        QFile file(index.dir().filePath(name));
        if (!file.open(QIODevice::ReadOnly))
            continue;
        QList<QByteArray> lines = file.read(kMostKept).split('\n');
        file.close();
        for (QByteArray &line : lines)
            line = withoutPasswordField(line);
        if (!writeReplacing(file.fileName(), lines.join('\n')))
            QFile::remove(file.fileName());
    }
}

/// A half-written file of an earlier run would lend its permissions to the next one.
void removeLeftOver(const QString &path)
{
    const QFileInfo info(path);
    if (info.isFile() && !info.isSymLink())
        QFile::remove(path);
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
    makePrivate(m_file.path());
    makePrivate(backupPath());
    contents.isReadable = file.outcome != ListFile::Outcome::Unreadable;
    if (file.outcome == ListFile::Outcome::Damaged)
        takePasswordsOut(m_file.path());
    if (file.lines.isEmpty())
        return contents;
    contents.counter = qBound(0, file.lines.first().toInt(), kHighestNumber);
    for (const QString &line : file.lines.sliced(1)) {
        AccountData account = accountOf(line);
        if (account.number > kHighestNumber)
            account.number = 0;
        contents.counter = qMax(contents.counter, account.number);
        contents.accounts.push_back(account);
    }
    if (file.outcome == ListFile::Outcome::Damaged && !contents.accounts.empty())
        leaveOut(contents.accounts.back());
    return contents;
}

bool AccountsFile::write(const Contents &contents, Backup backup)
{
    QStringList lines = {QString::number(contents.counter)};
    for (const AccountData &account : contents.accounts)
        lines += lineOf(account);
    removeLeftOver(m_file.path() + u'~');
    if (!m_file.write(lines))
        return false;
    if (backup == Backup::LeftToReading || storeAccess() == StoreAccess::ReadOnly)
        return true;
    if (!copyFile(m_file.path(), backupPath(), false))
        report(ReportLevel::Warning, "%s", kTexts.unableToBackUp);
    makePrivate(backupPath());
    return true;
}

bool AccountsFile::canHold(const AccountData &account)
{
    const auto isField = [](const QString &text) {
        return std::none_of(text.begin(), text.end(),
                            [](QChar c) { return c == u'\t' || c == u'\n' || c == u'\r'; });
    };
    return isField(account.address) &&
           std::all_of(std::begin(kLeadingFields), std::end(kLeadingFields),
                       [&](QString AccountData::*field) { return isField(account.*field); });
}

QString AccountsFile::backupPath() const
{
    return m_file.path() + u".backup"_s;
}
