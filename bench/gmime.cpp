// The yardstick for parsing: GMime 3 reads an mbox, decodes the header fields that a list shows and every
// part, texts by their character sets.

#include "tally.h"

#include <gmime/gmime.h>

#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>

namespace {

void takeHeader(GMimeMessage *message, Tally &tally)
{
    const char *subject = g_mime_message_get_subject(message);
    if (subject)
        tally.addHeader(subject, std::strlen(subject));
    InternetAddressList *senders = g_mime_message_get_from(message);
    for (int i = 0; senders && i < internet_address_list_length(senders); ++i) {
        InternetAddress *sender = internet_address_list_get_address(senders, i);
        if (const char *name = internet_address_get_name(sender))
            tally.addHeader(name, std::strlen(name));
    }
    if (GDateTime *date = g_mime_message_get_date(message)) {
        const gint64 seconds = g_date_time_to_unix(date);
        tally.addHeader(reinterpret_cast<const char *>(&seconds), sizeof seconds);
    }
}

void takePart(GMimeObject *, GMimeObject *part, gpointer data)
{
    Tally &tally = *static_cast<Tally *>(data);
    if (!GMIME_IS_PART(part))
        return;
    GMimeDataWrapper *content = g_mime_part_get_content(GMIME_PART(part));
    GMimeStream *decoded = g_mime_stream_mem_new();
    g_mime_data_wrapper_write_to_stream(content, decoded);
    const GByteArray *bytes = g_mime_stream_mem_get_byte_array(GMIME_STREAM_MEM(decoded));
    tally.addPart(reinterpret_cast<const char *>(bytes->data), bytes->len);
    if (GMIME_IS_TEXT_PART(part)) {
        const char *charset = g_mime_text_part_get_charset(GMIME_TEXT_PART(part));
        GMimeStream *text = g_mime_stream_mem_new();
        GMimeStream *filtered = g_mime_stream_filter_new(text);
        GMimeFilter *filter = g_mime_filter_charset_new(charset ? charset : "us-ascii", "utf-8");
        g_mime_stream_filter_add(GMIME_STREAM_FILTER(filtered), filter);
        g_mime_stream_write(filtered, reinterpret_cast<const char *>(bytes->data), bytes->len);
        g_mime_stream_flush(filtered);
        const GByteArray *utf8 = g_mime_stream_mem_get_byte_array(GMIME_STREAM_MEM(text));
        if (tally.checks())
            tally.addText(reinterpret_cast<const char *>(utf8->data), utf8->len);
        g_object_unref(filter);
        g_object_unref(filtered);
        g_object_unref(text);
    }
    g_object_unref(decoded);
}

} // namespace

int main(int argc, char **argv)
{
    const bool checks = argc > 1 && std::strcmp(argv[1], "--check") == 0;
    const int file = argc > 1 ? open(argv[argc - 1], O_RDONLY | O_CLOEXEC) : -1;
    if (file < 0) {
        std::fprintf(stderr, "an mbox is wanted\n");
        return 1;
    }
    g_mime_init();
    Tally tally(checks);
    GMimeStream *stream = g_mime_stream_mmap_new(file, PROT_READ, MAP_PRIVATE);
    GMimeParser *parser = g_mime_parser_new_with_stream(stream);
    g_mime_parser_set_format(parser, GMIME_FORMAT_MBOX);
    while (!g_mime_parser_eos(parser)) {
        GMimeMessage *message = g_mime_parser_construct_message(parser, nullptr);
        if (!message)
            continue;
        tally.addMessage();
        takeHeader(message, tally);
        g_mime_message_foreach(message, takePart, &tally);
        g_object_unref(message);
    }
    tally.print();
    g_object_unref(parser);
    g_object_unref(stream);
    g_mime_shutdown();
}
