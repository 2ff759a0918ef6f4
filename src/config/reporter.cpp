#include "config/reporter.h"

#include <cstdarg>
#include <cstdio>

namespace {

constexpr std::size_t kBufferSize = 1024;

ReportSink s_reportSink;
NoteSink s_noteSink;

/// The length of @p text without a UTF-8 character that was cut in the middle.
std::size_t wholeCharacters(const char *text, std::size_t length)
{
    std::size_t start = length;
    while (start > 0 && length - start < 4 && (uchar(text[start - 1]) & 0xc0) == 0x80)
        --start;
    if (start == 0)
        return length;
    const uchar lead = uchar(text[start - 1]);
    const std::size_t wanted = lead >= 0xf0 ? 4 : lead >= 0xe0 ? 3 : lead >= 0xc0 ? 2 : 1;
    return length - (start - 1) < wanted ? start - 1 : length;
}

/// Whether @p c turns the reading direction, so that a line shows something else than it says.
bool turnsText(QChar c)
{
    const char16_t code = c.unicode();
    return code == 0x061c || code == 0x200e || code == 0x200f || (code >= 0x202a && code <= 0x202e) ||
           (code >= 0x2066 && code <= 0x2069);
}

void deliver(QObject *parent, ReportLevel level, const char *format, va_list arguments)
{
    if (level < ReportLevel::Information || level > ReportLevel::Critical)
        return;
    char buffer[kBufferSize];
    const int written = std::vsnprintf(buffer, sizeof buffer, format, arguments);
    if (written < 0)
        return;
    std::size_t length = std::size_t(written);
    if (length >= kBufferSize)
        length = wholeCharacters(buffer, kBufferSize - 1);
    const QString text = QString::fromUtf8(buffer, qsizetype(length));
    if (s_reportSink)
        return s_reportSink({level, text, parent});
    std::fprintf(stderr, "%s\n", qUtf8Printable(onOneLine(text)));
}

} // namespace

void report(ReportLevel level, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    deliver(nullptr, level, format, arguments);
    va_end(arguments);
}

void report(QObject *parent, ReportLevel level, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    deliver(parent, level, format, arguments);
    va_end(arguments);
}

ReportSink setReportSink(ReportSink sink)
{
    return std::exchange(s_reportSink, std::move(sink));
}

void note(const QString &text)
{
    if (s_noteSink)
        s_noteSink(onOneLine(text));
}

NoteSink setNoteSink(NoteSink sink)
{
    return std::exchange(s_noteSink, std::move(sink));
}

QString onOneLine(const QString &text)
{
    QString line;
    line.reserve(text.size());
    for (const QChar c : text) {
        if (c == u'\n')
            line += u"\\n";
        else if (c == u'\r')
            line += u"\\r";
        else if (c == u'\t')
            line += u"\\t";
        else if (c.category() == QChar::Other_Control)
            line += QString::asprintf("\\x%02x", unsigned(c.unicode()));
        else if (turnsText(c))
            line += QString::asprintf("\\u%04x", unsigned(c.unicode()));
        else if (c == QChar::LineSeparator || c == QChar::ParagraphSeparator)
            line += u' ';
        else
            line += c;
    }
    return line;
}
