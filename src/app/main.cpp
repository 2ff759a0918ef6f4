#include "app/options.h"
#include "app/velmar.h"
#include "message/useragent.h"

#include <cstdio>
#include <cstdlib>
#include <ctime>

int main(int argc, char **argv)
{
    std::srand(unsigned(std::time(nullptr)));
    Velmar velmar(argc, argv);
    QStringList arguments = Velmar::arguments().mid(1);
    const ProgramOptions options = takeProgramOptions(arguments);
    if (!options.problem.isEmpty()) {
        std::fprintf(stderr, "velmar: %s\n", qUtf8Printable(options.problem));
        return 2;
    }
    if (options.help || options.version) {
        std::fputs(options.help ? qUtf8Printable(helpText()) : versionText().append('\n').constData(),
                   stdout);
        return 0;
    }
    const std::optional<int> status = velmar.begin(options, messageFromArguments(arguments));
    return status ? *status : Velmar::exec();
}
