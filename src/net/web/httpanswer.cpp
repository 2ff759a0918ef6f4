#include "net/web/httpanswer.h"

#include <QByteArrayList>

namespace {

constexpr qsizetype kMostLineBytes = 64 * 1024;
constexpr qsizetype kMostDigits = 15; // of a length: far more than anybody may send, far less than overflows
constexpr qint64 kNoLength = -1;
constexpr qint64 kBadLength = -2;

bool isPlain(char c) // neither a control character nor a line end that was smuggled in
{
    return (c >= ' ' && c != '\x7F') || c == '\t' || (c & '\x80');
}

/// Digits only, no sign and no blank; kBadLength otherwise.
qint64 numberOf(QByteArrayView digits, int base)
{
    const auto isDigit = [base](char c) {
        return base == 16 ? bool(isxdigit(uchar(c))) : c >= '0' && c <= '9';
    };
    if (digits.isEmpty() || digits.size() > kMostDigits ||
        !std::all_of(digits.begin(), digits.end(), isDigit))
        return kBadLength;
    return digits.toByteArray().toLongLong(nullptr, base);
}

} // namespace

constexpr std::array<HttpAnswer::Step, 9> HttpAnswer::s_steps = {{
    {Phase::Status, &HttpAnswer::statusLine},
    {Phase::Field, &HttpAnswer::fieldLine},
    {Phase::Sized, nullptr},
    {Phase::ToTheEnd, nullptr},
    {Phase::ChunkSize, &HttpAnswer::chunkSizeLine},
    {Phase::Chunk, nullptr},
    {Phase::ChunkEnd, &HttpAnswer::chunkEndLine},
    {Phase::Trailer, &HttpAnswer::trailerLine},
    {Phase::Complete, nullptr},
}};

HttpAnswer::HttpAnswer(Content content, qint64 mostBytes)
    : m_wanted(content)
    , m_mostBytes(mostBytes)
{
    static_assert([] {
        for (std::size_t i = 0; i < s_steps.size(); ++i) {
            if (s_steps[i].phase != Phase(i))
                return false;
        }
        return true;
    }());
}

void HttpAnswer::take(QByteArrayView bytes)
{
    while (!bytes.isEmpty() && !isOver()) {
        const bool isLine = s_steps[std::size_t(m_phase)].onLine;
        bytes = bytes.sliced(isLine ? takeLine(bytes) : takeContent(bytes));
    }
    m_hasSurplus = m_hasSurplus || !bytes.isEmpty();
}

qsizetype HttpAnswer::takeLine(QByteArrayView bytes)
{
    const qsizetype end = bytes.indexOf('\n');
    const qsizetype taken = end < 0 ? bytes.size() : end + 1;
    m_lineBytes += taken;
    if (m_lineBytes > kMostLineBytes) {
        m_problem = WebProblem::BadAnswer;
        return taken;
    }
    m_line += bytes.first(taken);
    if (end < 0)
        return taken;
    QByteArray line = std::exchange(m_line, {});
    line.chop(line.endsWith("\r\n") ? 2 : 1);
    if (std::all_of(line.cbegin(), line.cend(), isPlain))
        (this->*s_steps[std::size_t(m_phase)].onLine)(line);
    else
        m_problem = WebProblem::BadAnswer;
    return taken;
}

qsizetype HttpAnswer::takeContent(QByteArrayView bytes)
{
    const qsizetype taken =
        m_phase == Phase::ToTheEnd ? bytes.size() : qsizetype(std::min(qint64(bytes.size()), m_left));
    if (m_content.size() + taken > m_mostBytes) {
        m_problem = WebProblem::TooLarge;
        return taken;
    }
    m_content += bytes.first(taken);
    m_left -= taken;
    if (m_left == 0)
        contentTaken();
    return taken;
}

void HttpAnswer::contentTaken()
{
    if (m_phase == Phase::Sized)
        m_phase = Phase::Complete;
    else if (m_phase == Phase::Chunk)
        m_phase = Phase::ChunkEnd;
}

void HttpAnswer::close()
{
    if (isOver())
        return;
    if (m_phase == Phase::ToTheEnd)
        m_phase = Phase::Complete;
    else
        m_problem = m_phase == Phase::Status ? WebProblem::BadAnswer : WebProblem::CutShort;
}

QByteArray HttpAnswer::field(QByteArrayView name) const
{
    const auto found = std::find_if(m_fields.begin(), m_fields.end(),
                                    [&](const Field &field) { return field.name == name; });
    return found == m_fields.end() ? QByteArray() : found->value;
}

void HttpAnswer::statusLine(const QByteArray &line) // "HTTP/1.1 200 OK"; some leave the last word out
{
    constexpr qsizetype kShortest = sizeof "HTTP/1.1 200" - 1;
    const qint64 status = line.size() < kShortest ? kBadLength : numberOf(line.sliced(9, 3), 10);
    const bool isHttp = line.startsWith("HTTP/1.") && status >= 100 && line[8] == ' ' &&
                        (line.size() == kShortest || line[kShortest] == ' ');
    if (!isHttp) {
        m_problem = WebProblem::BadAnswer;
        return;
    }
    m_status = int(status);
    m_phase = Phase::Field;
}

void HttpAnswer::fieldLine(const QByteArray &line)
{
    if (line.isEmpty())
        return headComplete();
    const qsizetype colon = line.indexOf(':');
    if ((line.startsWith(' ') || line.startsWith('\t')) && !m_fields.empty())
        m_fields.back().value += ' ' + line.trimmed(); // folded, as it was once allowed
    else if (colon > 0)
        m_fields.push_back({line.first(colon).trimmed().toLower(), line.sliced(colon + 1).trimmed()});
    else
        m_problem = WebProblem::BadAnswer;
}

void HttpAnswer::headComplete()
{
    constexpr int kSwitchingProtocols = 101; // nobody asked for that
    if (m_status == kSwitchingProtocols) {
        m_problem = WebProblem::BadAnswer;
    } else if (m_status < 200) {
        m_fields.clear();
        m_phase = Phase::Status;
    } else if (m_wanted == Content::Wanted && m_status == 200) {
        beginContent();
    } else {
        m_phase = Phase::Complete;
    }
}

void HttpAnswer::beginContent()
{
    const QByteArray coding = field("transfer-encoding").toLower();
    const QByteArray packing = field("content-encoding").toLower();
    m_lineBytes = 0;
    if (!packing.isEmpty() && packing != "identity")
        m_problem = WebProblem::BadAnswer; // it was told that packed content is not understood
    else if (coding == "chunked")
        m_phase = Phase::ChunkSize; // a length beside it does not count: RFC 9112, 6.3
    else if (coding.isEmpty() || coding == "identity")
        beginSized(announcedLength());
    else
        m_problem = WebProblem::BadAnswer;
}

void HttpAnswer::beginSized(qint64 length)
{
    m_left = length;
    if (length == kBadLength)
        m_problem = WebProblem::BadAnswer;
    else if (length > m_mostBytes)
        m_problem = WebProblem::TooLarge;
    else
        m_phase = length == kNoLength ? Phase::ToTheEnd : length == 0 ? Phase::Complete : Phase::Sized;
}

/// Several lengths are good as long as they agree; RFC 9110, 8.6.
qint64 HttpAnswer::announcedLength() const
{
    qint64 length = kNoLength;
    for (const Field &field : m_fields) {
        if (field.name != "content-length")
            continue;
        for (const QByteArray &one : field.value.split(',')) {
            const qint64 said = numberOf(one.trimmed(), 10);
            if (said == kBadLength || (length != kNoLength && said != length))
                return kBadLength;
            length = said;
        }
    }
    return length;
}

void HttpAnswer::chunkSizeLine(const QByteArray &line) // "1a2b;name=value"
{
    const qsizetype semicolon = line.indexOf(';');
    m_left = numberOf(line.first(semicolon < 0 ? line.size() : semicolon).trimmed(), 16);
    m_lineBytes = 0;
    if (m_left == kBadLength)
        m_problem = WebProblem::BadAnswer;
    else if (m_content.size() + m_left > m_mostBytes)
        m_problem = WebProblem::TooLarge;
    else
        m_phase = m_left == 0 ? Phase::Trailer : Phase::Chunk;
}

void HttpAnswer::chunkEndLine(const QByteArray &line)
{
    m_phase = Phase::ChunkSize;
    if (!line.isEmpty())
        m_problem = WebProblem::BadAnswer;
}

void HttpAnswer::trailerLine(const QByteArray &line)
{
    if (line.isEmpty())
        m_phase = Phase::Complete;
}
