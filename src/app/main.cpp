#include "app/options.h"
#include "app/velmar.h"
#include "message/useragent.h"

#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace {

/// What needs neither a display nor a store: the status of a wrong command line, of help or of the version.
std::optional<int> answeredAtOnce(int argc, char **argv)
{
    QStringList words;
    for (int i = 1; i < argc; ++i)
        words += QString::fromLocal8Bit(argv[i]);
    const ProgramOptions options = takeProgramOptions(words);
    if (!options.problem.isEmpty()) {
        std::fprintf(stderr, "velmar: %s\n", qUtf8Printable(options.problem));
        return 2;
    }
    if (!options.help && !options.version)
        return {};
    std::fputs(options.help ? qUtf8Printable(helpText()) : versionText().append('\n').constData(), stdout);
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    if (const std::optional<int> status = answeredAtOnce(argc, argv))
        return *status;
    std::srand(unsigned(std::time(nullptr)));
    Velmar velmar(argc, argv);
    QStringList arguments = Velmar::arguments().mid(1); // without the toolkit's own
    const ProgramOptions options = takeProgramOptions(arguments);
    const std::optional<int> status = velmar.begin(options, messageFromArguments(arguments));
    return status ? *status : velmar.end(Velmar::exec());
}
