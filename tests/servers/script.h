#pragma once

#include <QByteArray>
#include <QHash>

#include <algorithm>
#include <vector>

/// One line of a script.
struct ScriptStep
{
    enum Kind { Say, Expect, Match, Quiet, Wait, StartTls, HangUp, Reset, Truncate, Leaves };

    Kind kind = Say;
    QByteArray bytes;
    qint64 size = 0; ///< of what is said: the bytes over and over
    int line = 0;    ///< of the script, from 1
    QByteArray source;
};

/// The steps of a script, one list per connection. See ScriptedServer.
class Script
{
public:
    explicit Script(const QByteArray &text, const QHash<QByteArray, QByteArray> &laid)
    {
        int number = 0;
        connections.emplace_back();
        for (const QByteArray &raw : text.split('\n')) {
            ++number;
            const QByteArray line = withoutIndent(raw);
            if (line == "--")
                connections.emplace_back();
            else if (!line.isEmpty())
                connections.back().push_back(step(line, number, laid));
        }
    }

    std::vector<std::vector<ScriptStep>> connections;

private:
    static QByteArray withoutIndent(const QByteArray &line)
    {
        qsizetype start = 0;
        while (start < line.size() && line[start] == ' ')
            ++start;
        return line.mid(start);
    }

    static ScriptStep step(const QByteArray &line, int number, const QHash<QByteArray, QByteArray> &laid)
    {
        ScriptStep step;
        step.line = number;
        step.source = line;
        const QByteArray word = line.left(2);
        const QByteArray rest = line.mid(line.mid(2, 1) == " " ? 3 : 2);
        step.bytes = unescaped(rest);
        if (word == "S:") {
            step.bytes += "\r\n";
        } else if (word == "G:") {
            repeat(step, rest);
        } else if (word == "D:") {
            if (!laid.contains(rest))
                qFatal("the script names data that is not there: %s", rest.constData());
            step.bytes = laid.value(rest);
        } else if (word == "C~") {
            step.bytes = rest;
            step.kind = ScriptStep::Match;
        } else if (word != "P:") {
            step.kind = otherKind(line, word);
        }
        step.size = std::max(step.size, qint64(step.bytes.size()));
        return step;
    }

    /// A long text is kept as a handy piece of it.
    static void repeat(ScriptStep &step, const QByteArray &rest)
    {
        const qsizetype blank = rest.indexOf(' ');
        const QByteArray text = unescaped(rest.mid(blank + 1));
        step.size = rest.left(blank).toLongLong() * text.size();
        step.bytes = text.repeated(std::max<qsizetype>(1, 65536 / text.size()));
        step.bytes.truncate(std::min<qint64>(step.size, step.bytes.size()));
    }

    static ScriptStep::Kind otherKind(const QByteArray &line, const QByteArray &word)
    {
        if (word == "C:")
            return ScriptStep::Expect;
        static const QHash<QByteArray, ScriptStep::Kind> s_words = {
            {"X", ScriptStep::HangUp},   {"XR", ScriptStep::Reset}, {"XT", ScriptStep::Truncate},
            {"T", ScriptStep::StartTls}, {"Q", ScriptStep::Quiet},  {"W", ScriptStep::Wait},
            {"E", ScriptStep::Leaves},
        };
        if (!s_words.contains(line))
            qFatal("the script has a line that says nothing: %s", line.constData());
        return s_words.value(line);
    }

    static QByteArray unescaped(const QByteArray &text)
    {
        QByteArray bytes;
        for (qsizetype i = 0; i < text.size(); ++i) {
            if (text[i] != '\\' || i + 1 == text.size()) {
                bytes += text[i];
                continue;
            }
            const char letter = text[++i];
            if (letter == 'x') {
                bytes += QByteArray::fromHex(text.mid(i + 1, 2));
                i += 2;
            } else {
                bytes += letter == '0'   ? '\0'
                         : letter == 'r' ? '\r'
                         : letter == 'n' ? '\n'
                         : letter == 't' ? '\t'
                                         : letter;
            }
        }
        return bytes;
    }
};
