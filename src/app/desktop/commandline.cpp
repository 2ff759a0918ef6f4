#include "app/desktop/commandline.h"

#include "app/desktop/urls.h"
#include "config/reporter.h"

using namespace Qt::StringLiterals;

namespace {

enum class Keyword { None, Url, Email, File, Attach };

Keyword keywordOf(QStringView piece)
{
    struct Row
    {
        QStringView word;
        Keyword keyword;
    };
    static constexpr Row kKeywords[] = {
        {u"-url", Keyword::Url},
        {u"-email", Keyword::Email},
        {u"-file", Keyword::File},
        {u"-attach", Keyword::Attach},
    };
    for (const auto &[word, keyword] : kKeywords) {
        if (piece == word)
            return keyword;
    }
    return Keyword::None;
}

/// If @p argument is @p option, or begins with it and "=", takes it and its value out at @p index.
bool takeOption(QStringList &arguments, qsizetype index, const QString &option, QString &value,
                QString &problem)
{
    const QString argument = arguments.at(index);
    if (argument.startsWith(option + u'=')) {
        value = argument.mid(option.size() + 1);
    } else if (argument == option) {
        value = arguments.value(index + 1);
        if (index + 1 < arguments.size())
            arguments.removeAt(index + 1);
    } else {
        return false;
    }
    arguments.removeAt(index);
    if (value.isEmpty())
        problem = u"The option %1 needs the name of a directory."_s.arg(option);
    return true;
}

bool isUnsafe(QChar c)
{
    return c == u' ' || c.category() == QChar::Other_Control;
}

/// Blanks and control characters as the %XX of their UTF-8; all else as it is, so that it may be done twice.
QString withoutBlanks(const QString &text)
{
    if (std::none_of(text.begin(), text.end(), isUnsafe))
        return text;
    QString safe;
    safe.reserve(text.size() + 16);
    for (const QChar c : text) {
        if (isUnsafe(c))
            safe += QString::fromLatin1(QString(c).toUtf8().toPercentEncoding());
        else
            safe += c;
    }
    return safe;
}

QString withoutQuotes(const QString &text)
{
    const bool quoted = text.size() >= 2 && text.startsWith(u'"') && text.endsWith(u'"');
    return quoted ? text.mid(1, text.size() - 2) : text;
}

/// The full name of the existing file that an argument means, as it stands or within quotes; else empty.
QString existingFile(const QString &argument)
{
    for (const QString &name : {argument, withoutQuotes(argument)}) {
        if (!name.isEmpty() && QFileInfo::exists(name))
            return QFileInfo(name).absoluteFilePath();
    }
    return {};
}

QString safeFileName(const QString &argument)
{
    const QString path = existingFile(argument);
    if (path.isEmpty())
        return withoutBlanks(argument);
    const bool stands = std::none_of(path.begin(), path.end(),
                                     [](QChar c) { return isUnsafe(c) || c == u'"' || c == u'\\'; });
    return stands ? path : fileUrl(path);
}

QString safeBareArgument(const QString &argument)
{
    const QString path = argument.startsWith(u'-') ? QString() : existingFile(argument);
    return withoutBlanks(path.isEmpty() ? argument : path);
}

QString safeArgument(Keyword before, const QString &argument)
{
    if (argument.isEmpty() && before != Keyword::None)
        return u"\"\""_s; // a value stays a piece, else the next argument would become it
    switch (before) {
    case Keyword::Url:
        if (!hasScheme(withoutQuotes(argument)) && !existingFile(argument).isEmpty())
            return fileUrl(existingFile(argument));
        return withoutBlanks(argument);
    case Keyword::Email: return withoutBlanks(argument);
    case Keyword::File:
    case Keyword::Attach: return safeFileName(argument);
    case Keyword::None: break;
    }
    return safeBareArgument(argument);
}

/// The file name in a piece: the path of a file: URL, else the piece without quotes and backslashes.
QString fileNameIn(const QString &piece)
{
    const QString name = withoutQuotes(piece);
    const QString path = localPath(name);
    return path.isEmpty() ? QString(name).replace(u'\\', u'/') : path;
}

/// Walks the pieces of one text.
class Walk
{
public:
    explicit Walk(const QStringList &pieces)
        : m_pieces(pieces)
    {
        while (m_next < m_pieces.size())
            step();
    }

    CommandLine result()
    {
        const QString file = fileNameIn(m_file);
        CommandLine line{file.isEmpty() ? withoutQuotes(m_url) : fileUrl(file), m_attachments};
        if (line.url.isEmpty() && !line.attachments.isEmpty())
            line.url = u"mailto:"_s;
        return line;
    }

private:
    void step()
    {
        const QString piece = m_pieces.at(m_next++);
        const bool hasValue = m_next < m_pieces.size();
        const Keyword keyword = hasValue ? keywordOf(piece) : Keyword::None;
        switch (keyword) {
        case Keyword::Url: m_url = withoutBlanks(m_pieces.at(m_next++)); break;
        case Keyword::Email: m_url = u"mailto:"_s + withoutBlanks(m_pieces.at(m_next)); break;
        case Keyword::File: m_file = m_pieces.at(m_next++); break;
        case Keyword::Attach: attach(fileNameIn(m_pieces.at(m_next++))); break;
        case Keyword::None: word(withoutQuotes(piece)); break;
        }
    }

    /// Without a keyword in front of it. A mailto: URL is what desktops and scripts hand over as it is.
    void word(const QString &word)
    {
        if (word.startsWith(u"mailto:", Qt::CaseInsensitive) && !QFileInfo(word).isFile())
            m_url = withoutBlanks(word);
        else if (!word.startsWith(u'-'))
            attach(QString(word).replace(u'\\', u'/'));
    }

    void attach(const QString &name)
    {
        if (!name.isEmpty() && QFileInfo(name).isFile())
            m_attachments.append(name);
        else if (!name.isEmpty() &&
                 m_url != u"mailto:"_s + name) // else the address of -email on its second look
            note(u"The command line names no file: "_s + name);
    }

    const QStringList &m_pieces;
    qsizetype m_next = 0;
    QString m_url;
    QString m_file;
    QStringList m_attachments;
};

} // namespace

StartOptions takeStartOptions(QStringList &arguments)
{
    StartOptions options;
    for (qsizetype i = 0; i < arguments.size();) {
        if (keywordOf(arguments.at(i)) != Keyword::None)
            i += 2;
        else if (!takeOption(arguments, i, u"--config"_s, options.configDirectory, options.problem) &&
                 !takeOption(arguments, i, u"--install"_s, options.installDirectory, options.problem))
            ++i;
    }
    return options;
}

QString messageFromArguments(const QStringList &arguments)
{
    QStringList pieces;
    Keyword before = Keyword::None;
    for (const QString &argument : arguments) {
        pieces.append(safeArgument(before, argument));
        before = before == Keyword::None ? keywordOf(argument) : Keyword::None;
    }
    return pieces.join(u' ');
}

CommandLine parseMessage(const QString &message)
{
    QString text = message;
    text.remove(QChar::Null);
    const QStringList pieces = text.split(u' ', Qt::SkipEmptyParts);
    return Walk(pieces).result();
}
