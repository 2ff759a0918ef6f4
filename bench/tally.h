#pragma once

#include <libdeflate.h>

#include <chrono>
#include <cstdint>
#include <cstdio>

/// What the programs that parse mail found, so that it can be compared, and how long they took. Line ends at
/// the end of a part are left out: whether the last one belongs to the part or to the boundary is seen
/// differently.
///
/// How much there was is always counted. Sums of what it was are made when asked for: that means bringing the
/// texts into one encoding, which is no part of the work, so a run that checks is not to be timed.
class Tally
{
public:
    explicit Tally(bool checks)
        : m_checks(checks)
    {}

    bool checks() const { return m_checks; }
    void addMessage() { ++m_messages; }
    /// The text of a field, in UTF-8. Blanks are left out: here those between encoded words stay.
    void addHeader(const char *text, std::size_t size)
    {
        for (std::size_t i = 0; m_checks && i < size; ++i) {
            if (text[i] != ' ')
                m_headers = libdeflate_crc32(m_headers, text + i, 1);
        }
    }
    void addPart(const char *bytes, std::size_t size)
    {
        ++m_parts;
        m_decoded += add(m_bytes, bytes, size);
    }
    /// The text of a part, in UTF-8, when texts are checked.
    void addText(const char *text, std::size_t size) { add(m_texts, text, size); }

    void print() const
    {
        const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - m_start;
        std::printf(
            "messages %ld\nparts %ld\ndecoded %lld\nheaders %08x\nbytes %08x\ntexts %08x\nseconds %.4f\n",
            m_messages, m_parts, m_decoded, m_headers, m_bytes, m_texts, seconds.count());
    }

private:
    /// Returns how many bytes counted.
    long long add(std::uint32_t &sum, const char *bytes, std::size_t size)
    {
        while (size > 0 && (bytes[size - 1] == '\n' || bytes[size - 1] == '\r'))
            --size;
        if (m_checks)
            sum = libdeflate_crc32(sum, bytes, size);
        return static_cast<long long>(size);
    }

    bool m_checks;
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
    long m_messages = 0;
    long m_parts = 0;
    long long m_decoded = 0;
    std::uint32_t m_headers = 0;
    std::uint32_t m_bytes = 0;
    std::uint32_t m_texts = 0;
};
