#include "tools/kivoctl/Help.h"

namespace kivo::ctl {

#define KIVOCTL_QUESTION_OPTIONS                     \
    "  --json         answer with one JSON object\n" \
    "  --timeout S    wait S seconds for the answer (5)\n"

#define KIVOCTL_LISTEN_OPTIONS                                                        \
    "  --json         print one JSON object a line\n"                                 \
    "  --units N      units in the answer to the daemon's status request (1)\n"       \
    "  --channels N   channels in that answer (8)\n"                                  \
    "  --keys         print key events too; they are what you type\n"                 \
    "  --swallow KEYS keep keys from the applications: all, none (the default),\n"    \
    "                 or keys by name or code, such as F1,Return,0x35\n"              \
    "  --ask COMMAND  ask a program about the other keys: it reads a JSON object a\n" \
    "                 line and answers with lines, \"pass\" or \"swallow\"\n"         \
    "  --until CODE   end after the first message of that code, such as KiFI\n"       \
    "  --count N      end after N printed messages\n"                                 \
    "  --timeout S    end after S seconds\n"

#define KIVOCTL_LISTEN_ENDING                                                          \
    "Ends with status 0 on SIGINT or SIGTERM, after --until or --count was met, and\n" \
    "when --timeout stands alone; with status 4 when the time is up before --until\n"  \
    "or --count was met, and with 6 when another program owns the port.\n"

const char kHelp[] =
    "Usage: kivoctl COMMAND [OPTION...]\n"
    "\n"
    "Stands in for the control center of the Kivo controller: asks the driver daemon\n"
    "questions, and listens to what it tells.\n"
    "\n"
    "Questions, which also work beside another control center:\n"
    "  pointer           where the pointer is\n"
    "  window TITLE      where that window of the front application is\n"
    "  target KEY...     which of these windows is open in front, and where\n"
    "  tap on|off        switch the forwarding of keys to the control center\n"
    "  status            whether a daemon and a control center are running\n"
    "\n"
    "In the place of the control center:\n"
    "  listen            print what the daemon tells, as it comes\n"
    "  session           the same, and take commands from standard input\n"
    "\n"
    "Without a daemon:\n"
    "  midi              which MIDI device the daemon would hold, and why not another\n"
    "\n"
    "  --help, --version\n"
    "`kivoctl COMMAND --help` says more about a command, and kivoctl(1) everything.\n"
    "\n"
    "Exit status: 0 answered, 1 no such window or no controller, 2 usage error\n"
    "(nothing was sent), 3 no daemon is running, 4 no answer in time, 5 the link\n"
    "broke, or MIDI cannot be reached, 6 another program is the control center\n"
    "already.\n";

const char kHelpPointer[] =
    "Usage: kivoctl pointer [OPTION...]\n"
    "\n"
    "Prints where the pointer is, in pixels from the top left of the primary monitor.\n"
    "\n" KIVOCTL_QUESTION_OPTIONS;

const char kHelpWindow[] =
    "Usage: kivoctl window TITLE [OPTION...]\n"
    "\n"
    "Makes the front application's window of that title its main window and prints\n"
    "position and size of its frame. Status 1 when none was found. Mind that the\n"
    "daemon takes the frontmost window whatever its title, and none with --partial;\n"
    "`kivoctl target` finds a window by its title.\n"
    "\n"
    "  --partial      the title need only occur in the window's title\n" KIVOCTL_QUESTION_OPTIONS;

const char kHelpTarget[] =
    "Usage: kivoctl target KEY[=ALT]... [OPTION...]\n"
    "\n"
    "Prints which of the targets is open in the front application, and position and\n"
    "size of its window. A KEY is looked up in the language table, and what is found\n"
    "need only occur in a window's title; without a table it is the text itself.\n"
    "With ALT, the window of that key is measured instead; the daemon ends when that\n"
    "one is not open. Status 1 when no target is open.\n"
    "\n"
    "  --key KEY      a target whose key holds \"=\" or begins with \"--\"\n"
    "  --alt ALT      the alternate key of the target before it\n"
    "  --file FILE    targets from a JSON file, - for standard input: an array of\n"
    "                 objects with \"titleKey\" and, if wanted, \"title\", \"altTitle\",\n"
    "                 \"altTitleText\", \"auxValue1\", \"auxValue2\", \"auxByte\", "
    "\"auxFlag\"\n" KIVOCTL_QUESTION_OPTIONS;

const char kHelpTap[] =
    "Usage: kivoctl tap on|off [OPTION...]\n"
    "\n"
    "Switches the forwarding of keys to the control center on or off. `kivoctl tap\n"
    "off` frees a keyboard whose control center no longer answers.\n"
    "\n" KIVOCTL_QUESTION_OPTIONS;

const char kHelpStatus[] =
    "Usage: kivoctl status [--json]\n"
    "\n"
    "Prints whether a daemon and a control center are running, without asking either.\n"
    "Status 3 when no daemon is.\n";

const char kHelpMidi[] =
    "Usage: kivoctl midi [--json]\n"
    "\n"
    "Lists the MIDI devices with their entities, sources and destinations, says which\n"
    "of them a daemon that starts now would hold as the controller, and why not the\n"
    "others. Asks no daemon. Status 1 when none would be held, 5 when MIDI cannot be\n"
    "reached.\n";

const char kHelpListen[] =
    "Usage: kivoctl listen [OPTION...]\n"
    "\n"
    "Owns the port \"KivoDriver\" and prints every message of the daemon with its time.\n"
    "Start it before the daemon, which looks for a control center only once.\n"
    "\n" KIVOCTL_LISTEN_OPTIONS
    "  --commands     take commands from standard input, as `kivoctl session` does\n"
    "\n" KIVOCTL_LISTEN_ENDING;

const char kHelpSession[] =
    "Usage: kivoctl session [OPTION...]\n"
    "\n"
    "Listens as `kivoctl listen` does and takes commands from standard input, one a\n"
    "line, with quotes as in a shell: pointer, window, target, tap and status as on\n"
    "the command line, `status UNITS CHANNELS` to set what the daemon is answered,\n"
    "and quit. Answers and errors are printed among the messages. Ends with the input\n"
    "too, unless --until, --count or --timeout is given.\n"
    "\n" KIVOCTL_LISTEN_OPTIONS "\n" KIVOCTL_LISTEN_ENDING;

}  // namespace kivo::ctl
