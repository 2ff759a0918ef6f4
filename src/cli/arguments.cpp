#include "cli/arguments.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

bool contains(std::initializer_list<const char *> names, const QString &name)
{
    return std::any_of(names.begin(), names.end(),
                       [&](const char *known) { return name == QLatin1String(known); });
}

} // namespace

Arguments::Arguments(const QStringList &words, std::initializer_list<const char *> flags,
                     std::initializer_list<const char *> valued)
{
    for (qsizetype i = 0; i < words.size(); ++i) {
        const QString &word = words[i];
        if (word == u"--") {
            m_plain += words.sliced(i + 1);
            return;
        }
        if (!word.startsWith(u"--")) {
            m_plain += word;
            continue;
        }
        const qsizetype equals = word.indexOf(u'=');
        const QString name = word.left(equals < 0 ? word.size() : equals);
        if (contains(flags, name) && equals < 0)
            m_options.insert(name, {});
        else if (contains(valued, name) && equals >= 0)
            m_options[name] += word.sliced(equals + 1);
        else if (contains(valued, name) && i + 1 < words.size())
            m_options[name] += words[++i];
        else if (contains(valued, name))
            m_problems += u"%1 wants a value"_s.arg(name);
        else
            m_problems += u"unknown option %1"_s.arg(word);
    }
}

bool Arguments::has(const char *flag) const
{
    return m_options.contains(QLatin1String(flag));
}

QString Arguments::value(const char *option) const
{
    const QStringList all = values(option);
    return all.isEmpty() ? QString() : all.last();
}

QStringList Arguments::values(const char *option) const
{
    return m_options.value(QLatin1String(option));
}
