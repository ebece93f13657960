// The table of keys: what the parser knows, what both helps print and what the manual lists.

#include <cstddef>
#include <utility>

#include "tzkeyactions.h"
#include "tzkeys.h"
#include "tzsession.h"
#include "tzenv.h"

namespace {

enum Visibility { SHOWN, HIDDEN };

// When a key is registered.
enum Presence { ALWAYS, WITH_LIBRARY };

// The exit requests that make a key pointless: a listing still needs what selects tests and where
// output goes, a help or version request needs nothing.
enum SkippedFrom { NEVER = 99, ANY_EXIT = 1, HELP_OR_VERSION = 2 };

// What becomes of a key given twice: both are applied (which may mean that the later one wins), or
// the last alone.
enum Occurrence { EACH, LAST };

struct KeyRow {
  char key;
  const char* name;
  Visibility visibility;
  Presence presence;
  SkippedFrom skippedFrom;
  const tzKeyAction* action;
  Occurrence occurrence;
  tzKeyArgument argument;
  const char* help;
  const char* details;
};

namespace act = tzkeyaction;

constexpr KeyRow kTable[] = {
    {'B', "B", SHOWN, ALWAYS, ANY_EXIT, &act::batch, EACH, ARG_NONE,
     "-B               = batch mode (no console input)\n",
     "Nothing is asked from the console: every value comes from -d, from the ini-file or is the\n"
     "default. Use it in scripts.\n"
     "If both -B and -A key present in command line then -B key is performed\n"
     "Example: tazmet -B -r\n"},
    {'A', "A", SHOWN, ALWAYS, ANY_EXIT, &act::ask, EACH, ARG_ANY,
     "-A<Timing|Params|Misalign|All> = set detail level of the console input\n",
     "Values that neither -d nor the ini-file gives are asked on the console; an empty answer\n"
     "takes the default shown in brackets.\n"
     "  Timing    the timing method and the accuracy limit\n"
     "  Params    the common parameters, such as the image sizes\n"
     "  Misalign  the placement of the test data in memory\n"
     "  All       all of these and each test's own parameters before it runs\n"
     "The words may be shortened; several -A add up. When standard input ends, defaults are\n"
     "taken.\n"
     "Example: tazmet -AParams -AMisalign\n"},
    {'d', "d", SHOWN, ALWAYS, ANY_EXIT, &act::preset, EACH, ARG_ANY,
     "-d<name>=<value> = set TZ parameter value\n",
     "Sets a parameter by the name that the console shows for it. List parameters take several\n"
     "values with \";\" between them: quote them in the shell.\n"
     "Data set by -d option has the highest priority\n"
     "The key may be repeated; for one name the last value counts.\n"
     "Example: tazmet \"-dImageSize=64x64;512x512\" -dMethod=Manual -dNumLoops=100\n"},
    {'i', "i", SHOWN, ALWAYS, HELP_OR_VERSION, &act::iniRead, LAST, ARG_ANY,
     "-i[<file-name>]  = read TZ parameters from ini-file\n",
     "The section [Tazmet] holds the common parameters, a section named after a function holds\n"
     "the parameters of that function's tests. What the file does not give keeps its default.\n"
     "Without a name: <default-dir>/<default-name>.ini; a relative name is looked up in the\n"
     "directory of -p. A file that cannot be read is reported and the run goes on. Keys that no\n"
     "test asked for are told at the end. If several -i are given the last one counts.\n"
     "Example: tazmet -B -i sizes.ini -p /home/me/tz\n"},
    {'I', "I", SHOWN, ALWAYS, ANY_EXIT, &act::iniWrite, LAST, ARG_ANY,
     "-I[<file-name>]  = write TZ parameters to ini-file and exit\n",
     "Writes every parameter that this run would read, with its default or its value from -d:\n"
     "the common ones and those of each selected test. Nothing is measured. A value that the\n"
     "file has already is kept, and so are comments: the key also completes an older file. What\n"
     "is written is what the run would use, where a value was out of range the nearest allowed\n"
     "one. The file lies where -i looks for it; with -i and another name that file is read and\n"
     "this one written. A file that cannot be read to its end is left as it is.\n"
     "Example: tazmet -I all.ini, then edit it, then tazmet -B -i all.ini\n"},
    {'P', "P", SHOWN, ALWAYS, HELP_OR_VERSION, &act::iniFunctions, EACH, ARG_NONE,
     "-P               = read tested function names from ini-file\n",
     "Only with -i: just the functions with a section of their own in the ini-file are measured,\n"
     "whatever other functions -f and -t would let pass.\n"
     "Example: tazmet -B -P -i few.ini\n"},
    {'o', "o", SHOWN, ALWAYS, HELP_OR_VERSION, &act::text, EACH, ARG_ANY,
     "-o[<file-name>]  = create txt-file and write console output\n",
     "The console output from the end of the key echo on goes into the file as well, filtered by\n"
     "the same -L level. Without a name: <default-dir>/<default-name>.txt; a relative name lies\n"
     "in the directory of -l. The key may be repeated for several copies.\n"
     "Example: tazmet -B -LINFO -o session.txt\n"},
    {'O', "O", SHOWN, ALWAYS, HELP_OR_VERSION, &act::textAppend, EACH, ARG_ANY,
     "-O[<file-name>]  = add console output to txt-file\n",
     "As -o, but text already in the file is kept and the new text follows it.\n"
     "Example: tazmet -B -O history.txt\n"},
    {'L', "L", SHOWN, ALWAYS, HELP_OR_VERSION, &act::level, EACH, ARG_ANY,
     "-L<ERR|WARN|PERF|INFO|TRACE|DATA> = set detail level of the console output\n",
     "  ERR    errors\n"
     "  WARN   and warnings\n"
     "  PERF   and the performance for each parameter set (this is the default)\n"
     "  INFO   and the detailed course of each measurement\n"
     "  TRACE  performance and the trace of the harness's steps\n"
     "  DATA   the same and the test vectors before and after the library call\n"
     "Capital letters count, wherever they stand: -LI is -LINFO. Several -L add up. With ERR "
     "alone\n"
     "warnings count as successes.\n"
     "Example: tazmet -B -LWARN\n"},
    {'r', "r", SHOWN, ALWAYS, HELP_OR_VERSION, &act::results, EACH, ARG_ANY,
     "-r[<file-name>]  = create csv-file and write TZ results\n",
     "One line a measurement: function, parameter values, clocks per element, unit, measurement\n"
     "note and result code. Without a name: <default-dir>/<default-name>.csv; a relative name\n"
     "lies in the directory of -l.\n"
     "Example: tazmet -B -r today.csv -l /home/me/results\n"},
    {'R', "R", SHOWN, ALWAYS, HELP_OR_VERSION, &act::resultsAppend, EACH, ARG_ANY,
     "-R[<file-name>]  = add TZ results to csv-file\n",
     "As -r, but lines already in the file are kept: the way to one table from several runs.\n"
     "Example: tazmet -B -fDCT -R all.csv; tazmet -B -fHuffman -R all.csv\n"},
    {'q', "q", SHOWN, ALWAYS, ANY_EXIT, &act::names, EACH, ARG_ANY,
     "-q[<file-name>]  = create csv-file (*_name.csv is default) and write function parameter name "
     "lines\n"
     "-q+              = add function parameter name lines to TZ results table file\n",
     "A name line tells what the columns of a test's result lines mean. They go into a file of\n"
     "their own (<default-dir>/<default-name>_name.csv without a name) or, with \"+\", into the\n"
     "tables of -r and -R above each test's results.\n"
     "Example: tazmet -B -r -q+\n"},
    {'Q', "Q", SHOWN, ALWAYS, ANY_EXIT, &act::namesOnly, EACH, ARG_NONE,
     "-Q               = exit after function parameter name table creation\n",
     "The name lines of all selected tests are written as -q says and no test is measured.\n"
     "Without -q the table gets its default name.\n"
     "Example: tazmet -B -Q -q columns.csv\n"},
    {'u', "u", SHOWN, ALWAYS, ANY_EXIT, &act::summary, EACH, ARG_ANY,
     "-u[<file-name>]  = create csv-file and write summary table ('_sum' is added to default title "
     "name)\n",
     "One line a test: function, class, status watches, time, source and result name. Without a\n"
     "name: <default-dir>/<default-name>_sum.csv.\n"
     "Example: tazmet -B -r -u\n"},
    {'U', "U", SHOWN, ALWAYS, ANY_EXIT, &act::summaryAppend, EACH, ARG_ANY,
     "-U[<file-name>]  = add summary table to csv-file ('_sum' is added to default title name)\n",
     "As -u, but lines already in the file are kept.\n"
     "Example: tazmet -B -U every_day.csv\n"},
    {'g', "g", SHOWN, ALWAYS, ANY_EXIT, &act::signalFile, LAST, ARG_ANY,
     "-g[<file-name>]  = create signal file at the end of the whole testing\n",
     "A script that waits for the end of a run can look for this file: it is written when all\n"
     "other outputs are complete and tells the end time, the counts and the exit code. Without a\n"
     "name: <default-dir>/<default-name>.end. If several -g are given the last one counts.\n"
     "Example: tazmet -B -r -g done.end\n"},
    {'n', "n", SHOWN, ALWAYS, NEVER, &act::defaultName, EACH, ARG_ANY,
     "-n<title-name>   = default title name for ini-file and output files\n",
     "Files that a key does not name are called after it. It is the name of the program without\n"
     "this key, and it is applied before all other keys.\n"
     "Example: tazmet -B -n run7 -r -u -o writes run7.csv, run7_sum.csv and run7.txt\n"},
    {'p', "p", SHOWN, ALWAYS, NEVER, &act::inDir, EACH, ARG_ANY,
     "-p<dir-name>     = default directory for input files i.e. ini & test data files\n",
     "The ini-file, the command file and test images are looked up here unless their path is\n"
     "absolute. It is the program's directory without this key, and it is applied before all\n"
     "other keys; on the command line it also moves the command file.\n"
     "Example: tazmet -p /home/me/tz -i\n"},
    {'l', "l", SHOWN, ALWAYS, NEVER, &act::outDir, EACH, ARG_ANY,
     "-l<dir-name>     = default directory for output files (listings)\n",
     "Files are written here unless their path is absolute. Without this key it is the program's\n"
     "directory or, where that cannot be written, the current one. It must exist, and it is\n"
     "applied before all other keys.\n"
     "Example: tazmet -B -r -o -l /tmp\n"},
    {'f', "f", SHOWN, ALWAYS, HELP_OR_VERSION, &act::functions, EACH, ARG_ANY,
     "-f < or-pattern> = run tests for functions with pattern in name\n"
     "-f-<not-pattern> = don't run tests for functions with pattern in name\n"
     "-f+<and-pattern> = run only tests for functions with pattern in name\n"
     "-f=< eq-pattern> = run tests for function with this full name\n",
     "The key may be repeated. A test runs when any one of the -f and -f= patterns fits, where\n"
     "there are such, and every -f+ and -f- pattern does, in whatever order they stand. Upper and\n"
     "lower case differ.\n"
     "Example: tazmet -B -fDCT -fWT -f-Inv measures DCT and WT functions without inverse ones\n"},
    {'t', "t", SHOWN, ALWAYS, HELP_OR_VERSION, &act::tests, EACH, ARG_ANY,
     "-t[-/+/=]<patrn> = run (don't run) tests with pattern in test name\n",
     "As -f, for the name of the test: the class of its suite, \"//\" and the kind of test. The\n"
     "listing of -e shows it. Conditions of -f and -t act together.\n"
     "Example: tazmet -B -tTimjHuffman\n"},
    {'F', "F", SHOWN, ALWAYS, ANY_EXIT, &act::startFunction, EACH, ARG_ANY,
     "-F<func-name>    = start testing from function with func-name full name\n",
     "Selected tests are skipped up to the first whose function name contains this text; that one\n"
     "and all after it run. It takes up a run that was interrupted. The last -F wins.\n"
     "Example: tazmet -B -R -F rkdiEncodeHuffman8x8_JPEG_16s1u_C1\n"},
    {'Y', "Y", SHOWN, ALWAYS, ANY_EXIT, &act::priority, EACH, ARG_ANY,
     "-Y<HIGH|NORMAL>  = set high or normal process prioritY (normal is default)\n",
     "The priority of the process during each timed run. Only root may change it; for other users\n"
     "the key has no effect.\n"
     "Example: sudo tazmet -B -YHIGH\n"},
    {'H', "H", SHOWN, ALWAYS, HELP_OR_VERSION, &act::hot, EACH, ARG_ANY,
     "-H[ONLY]         = add 'Interest' column to table file [and run only hot tests]\n",
     "Hot functions are those that matter most to programs that use the library. The column marks\n"
     "their lines; with ONLY nothing else is measured.\n"
     "Example: tazmet -B -HONLY -r\n"},
    {'T', "T", SHOWN, WITH_LIBRARY, ANY_EXIT, &act::cpu, EACH, ARG_ANY,
     "-T[<cpu-name>]   = call rkdInitStaticCpu( rkdCpu<cpu-name> )\n",
     "Makes the library use its code for a named processor: SSE, SSE2, SSE3, SSSE3, SSE41, SSE42,\n"
     "AVX, modelA to modelE or 64, and AVX2 or AVX512 where the library knows them. A processor\n"
     "that lacks the level gives the library's error, and its own choice is taken. Without a name\n"
     "the library chooses.\n"
     "Example: tazmet -B -T SSE41 -r sse41.csv\n"},
    {'N', "N", SHOWN, WITH_LIBRARY, ANY_EXIT, &act::threads, EACH, ARG_ANY,
     "-N[<num-threads>]= call rkdSetNumThreads( <num-threads> )\n",
     "The number of threads that the library may use; without a number one for each processor.\n"
     "Without this key the library keeps its own default.\n"
     "Example: tazmet -B -N4\n"},
    {'S', "S", HIDDEN, ALWAYS, ANY_EXIT, &act::dataUse, EACH, ARG_ANY,
     "-SU              = measure functions with data set & use\n",
     "Each call is timed through the test's plain call, with the initialisation and a refill of\n"
     "the test data before it inside the timed stretch. A test without such a call says so and\n"
     "counts as UNDEFINED.\n"
     "Example: tazmet -B -SU -fDCT\n"},
    {'C', "C", HIDDEN, ALWAYS, ANY_EXIT, &act::cache, EACH, ARG_NONE,
     "-C               = run tests with data in cache and out of cache (if that is supported by "
     "test)\n",
     "A supporting test runs twice, with data that fit into the largest cache and with data that\n"
     "do not; each line says which. Its size parameter is steered and no longer free. A state "
     "that\n"
     "no size reaches has a line that says \"not measured\".\n"
     "Example: tazmet -B -C -fAdd128\n"},
    {'s', "s", SHOWN, ALWAYS, HELP_OR_VERSION, &act::sorting, EACH, ARG_SIGN,
     "-s[-]            = sort or don't sort functions (sort mode is default)\n",
     "Tests run and are listed sorted by function name; with -s- in the order in which the suites\n"
     "registered them.\n"
     "Example: tazmet -e -s-\n"},
    {'e', "e", SHOWN, ALWAYS, HELP_OR_VERSION, &act::enumerate, EACH, ARG_SIGN,
     "-e               = enumerate tests and exit\n",
     "-e   enumerate tested functions and exit\n"
     "-e+  enumerate applied and not applied library functions and exit\n"
     "-e-  enumerate not applied library functions and exit\n"
     "The plain form lists the tests that -f, -t, -P and -HONLY select; -o and -r write the list\n"
     "to files.\n"
     "Example: tazmet -e -fHuffman\n"},
    {'v', "v", SHOWN, ALWAYS, NEVER, &act::version, EACH, ARG_NONE,
     "-v               = type the version number of the Tazmet and exit\n",
     "Prints name, version number and build date; nothing is measured. --version is the same.\n"
     "Example: tazmet -v\n"},
    {'h', "h", SHOWN, ALWAYS, NEVER, &act::help, EACH, ARG_ANY,
     "-h               = type short help and exit\n"
     "-hh              = type extended help and exit\n"
     "-h<key>          = type extended help for the key and exit\n",
     "Help goes before listing, version and measuring. Keys for developers only are left out: see\n"
     "-?. --help is the same as -h.\n"
     "Example: tazmet -hf explains the key -f\n"},
    {'?', "hq", SHOWN, ALWAYS, NEVER, &act::hiddenHelp, EACH, ARG_ANY,
     "-?               = type short help with hidden keys and exit\n"
     "-??              = type extended help with hidden keys and exit\n"
     "-?<key>          = type extended help for the key and exit\n"
     "If several -? keys present in command line then only the last key is valid\n",
     "As -h, with the keys that are meant for developers. Quote it: shells replace \"?\" by the\n"
     "names of files.\n"
     "Example: tazmet \"-?C\"\n"},
    {'m', "m", SHOWN, ALWAYS, ANY_EXIT, &act::memory, EACH, ARG_ANY,
     "-m[<file-name>]  = create *_mem.csv file and write memory info\n",
     "One line for each buffer of test data that is allocated or freed, with its size and its\n"
     "addresses. Without a name: <default-dir>/<default-name>_mem.csv.\n"
     "Example: tazmet -B -fAdd128 -m\n"},
    {'V', "V", SHOWN, ALWAYS, ANY_EXIT, &act::verify, EACH, ARG_ANY,
     "-V[ONLY]         = compare functions with references first [and measure nothing]\n",
     "Each measured function's output is compared with that of a plain reference implementation\n"
     "on the test's own data, then at sizes that no vector divides, on operands between pages\n"
     "that must not be touched. A difference gives FUNCFAIL with its place and both values, a\n"
     "touched page EXCPTFAIL, and the function is not measured. With ONLY nothing is measured at\n"
     "all: an equal output is OK with the note \"verified\". The exit code is 1 when any function\n"
     "differs.\n"
     "Example: tazmet -B -VONLY -r checked.csv\n"},
    {'W', "W", SHOWN, ALWAYS, ANY_EXIT, &act::insist, EACH, ARG_NONE,
     "-W               = exit with code 2 before measuring if anything given is not used\n",
     "For scripts that would rather stop than measure something else: a key that is \"ignored\", "
     "a\n"
     "parameter or section that no selected test has, a value that is refused or replaced, an\n"
     "ini-file that cannot be read, a selection without tests and every \"FATAL ERROR\" end the "
     "run\n"
     "before its first measurement. Without this key the run goes on where it can.\n"
     "Example: tazmet -B -W -f=rkdiAdd128_JPEG_16s8u_C1R -dImageSize=640x480 -r\n"},
    {'k', "k", SHOWN, ALWAYS, ANY_EXIT, &act::children, LAST, ARG_ANY,
     "-k[<seconds>]    = run each test in a child process\n",
     "A measured function that ends its process, by whatever signal, by exit() or by damaging the\n"
     "heap, has a row with EXCPTFAIL and the reason, and so has one that does not return: a row\n"
     "whose process says nothing for so many seconds (60 without a number, 0: any time) is ended\n"
     "with it. The other tests run as if nothing had happened. Libraries that started threads of\n"
     "their own when -N was applied may need to run without this key.\n"
     "Example: tazmet -B -k30 -r\n"},
    {'j', "j", SHOWN, ALWAYS, ANY_EXIT, &act::lines, EACH, ARG_ANY,
     "-j[<file-name>]  = create JSON Lines file and write TZ results with every sample\n",
     "For programs. The first line tells machine, keys, settings, libraries and build; then comes\n"
     "one line a row as soon as it is known, with parameters by name, figure, statistics, what\n"
     "disturbed it and every sample; a last line tells that the run came to its end. A file that\n"
     "was cut off is good up to its last line. docs/results.schema.json tells all members. "
     "Without\n"
     "a name: <default-dir>/<default-name>.jsonl.\n"
     "Example: tazmet -B -r -j -fDCT\n"},
    {'D', "D", SHOWN, ALWAYS, ANY_EXIT, &act::builds, LAST, ARG_ANY,
     "-D<dir-name>     = compare the libraries with those in the directory, sample by sample\n",
     "The program is executed anew twice, once with this directory first in the loader's path, "
     "both\n"
     "on one processor, and the two measure in turns: 51 rounds, where that does not settle it "
     "101\n"
     "or 201, with three sets of processes (-dProcessSets=), and with up to six times as many "
     "until\n"
     "enough of them agree where a row seems to differ. Each row has the ratio of new to old, its\n"
     "interval at 95 % for all rows together, and \"slower\", \"faster\", \"same\" or "
     "\"unresolved\";\n"
     "changes below -dGate= (1 %) do not count. The exit code is 1 when a row is slower or fails.\n"
     "Example: tazmet -D /home/me/new/lib -fDCT -dGate=2\n"},
    {'c', "c", SHOWN, WITH_LIBRARY, ANY_EXIT, &act::paths, LAST, ARG_ANY,
     "-c<cpu>,<cpu>... = compare the library's code for these processors, sample by sample\n",
     "As -D, for code paths of one library, named as for -T. The others' columns tell how many\n"
     "times as fast as the first they are. The exit code is 1 when one is slower than the first.\n"
     "Example: tazmet -c SSE41,AVX2,AVX512 -fDCT -r\n"},
    {'X', "X", SHOWN, ALWAYS, ANY_EXIT, &act::passes, LAST, ARG_ANY,
     "-X<num>[,<sec>]  = make <num> passes over all tests, their starts <sec> seconds apart\n",
     "For -dMethod=Spread: each pass takes samples of every row, on data built anew, and the last\n"
     "one writes the rows. What slows a machine down for a while meets one pass and not the next;\n"
     "a row is ACCURWRN when less than half of the passes confirm its smallest figure within the\n"
     "accuracy. Rows that cost a run too much take part in three passes. A signal ends the\n"
     "measuring, and rows are written with what there is.\n"
     "Example: tazmet -B -dMethod=Spread -X4,30 -b0.2 -a -r\n"},
    {'b', "b", SHOWN, ALWAYS, ANY_EXIT, &act::budget, LAST, ARG_ANY,
     "-b<sec>[,<sec>]  = time for the samples of a row [and for the whole run]\n",
     "For -dMethod=Spread: seconds of sampling a row, shared by all passes (0.3 without this "
     "key).\n"
     "With a time for the run, rows get less where there is not so much; the run still ends a\n"
     "little later where single calls take long.\n"
     "Example: tazmet -B -dMethod=Spread -X4,30 -b0.5,240\n"},
    {'a', "a", SHOWN, ALWAYS, ANY_EXIT, &act::pin, LAST, ARG_ANY,
     "-a[<processor>]  = keep the process on one processor (affinity)\n",
     "By its number as the system counts them; without a number on the last one allowed. Caches\n"
     "stay warm, and other programs can be kept away from it.\n"
     "Example: tazmet -B -a1\n"},
    {'w', "w", SHOWN, ALWAYS, ANY_EXIT, &act::watch, LAST, ARG_ANY,
     "-w<ON|OFF|STRICT> = watch what disturbs timed runs (ON is default)\n",
     "A run that had less than 99 % of a processor, was interrupted by another program or waited\n"
     "for a disk is repeated; a row whose figure rests on such a run all the same is ACCURWRN.\n"
     "STRICT counts a change of processor, a page fault and time that the host took as well; OFF\n"
     "does not look.\n"
     "Example: tazmet -B -wSTRICT -fDCT\n"},
    {'K', "K", SHOWN, ALWAYS, HELP_OR_VERSION, &act::shard, LAST, ARG_ANY,
     "-K<part>/<parts> = run one part of the selected tests\n",
     "Every <parts>-th of the tests in the order of their names, beginning with number <part>: "
     "the\n"
     "parts share no test and leave none out, so that several processes, processors or machines\n"
     "can do one run. \"tazreport merge\" puts their files together.\n"
     "Example: tazmet -B -K2/4 -r part2.csv -j part2.jsonl\n"},
    {'J', "J", SHOWN, ALWAYS, ANY_EXIT, &act::resume, LAST, ARG_ANY,
     "-J[<file-name>]  = add TZ results with every sample to JSON Lines file, and resume its run\n",
     "Rows that the file has from this machine with these settings are not measured again: tables\n"
     "and console show them as they were measured, and the file gets the others. After whatever\n"
     "end of a run, the same command goes on with it; a line that was cut off is taken off the\n"
     "file, and \"resumed\" in the new context marks the gap. A file that is none of this program\n"
     "ends the run. Without a name: <default-dir>/<default-name>.jsonl.\n"
     "Example: tazmet -B -r -J -fDCT\n"},
    {'G', "G", SHOWN, ALWAYS, ANY_EXIT, &act::progress, LAST, ARG_ANY,
     "-G[<file-name>]  = show progress on the terminal\n",
     "The test under way, the time gone and the time left in a line on standard error, where that\n"
     "is a terminal, and nowhere else; nothing is written while a function is timed. The file of\n"
     "JSON Lines of an earlier run makes the time left true from the beginning; without a name\n"
     "it is <default-dir>/<default-name>.jsonl, which this run may write anew.\n"
     "Example: tazmet -B -j -G -fDCT\n"},
    {'M', "M", SHOWN, ALWAYS, HELP_OR_VERSION, &act::machine, EACH, ARG_NONE,
     "-M               = type the facts about the machine and exit\n",
     "Processor and caches, step, cost and rate of the time-stamp counter, the rate of the core\n"
     "beside it, governor, turbo, threads of a core, hypervisor, load: what figures depend on.\n"
     "Example: tazmet -M\n"},
};

constexpr std::size_t kNumKeys = sizeof(kTable) / sizeof(kTable[0]);

tzString refused(const KeyRow& key, const tzString& arg) {
  return key.action->refuse != nullptr ? key.action->refuse(arg) : tzString();
}

// A key's record holds plain functions that know nothing but the argument: one pair a row.
template <std::size_t row>
tzString rowInfo(const tzString& arg) {
  const KeyRow& key = kTable[row];
  if (g_session->isExit(key.skippedFrom)) return g_session->getExitInfo();
  const tzString refusal = refused(key, arg);
  return refusal.empty() ? key.action->tell(arg) : "ignored: " + refusal;
}

template <std::size_t row>
void rowApply(const tzString& arg, tzSession* session) {
  const KeyRow& key = kTable[row];
  if (session->isExit(key.skippedFrom)) return;
  if (refused(key, arg).empty()) key.action->apply(arg, session);
}

template <std::size_t row>
void registerRow(tzSession& session) {
  const KeyRow& key = kTable[row];
  if (key.presence == WITH_LIBRARY && rkdEnvironment == nullptr) return;
  session.initOption(key.key, key.name, rowInfo<row>, rowApply<row>,
                     tzString(key.help) + "\n" + key.details, key.visibility == HIDDEN);
  session.limitOption(key.argument, key.occurrence == LAST);
}

template <std::size_t... row>
void registerRows(tzSession& session, std::index_sequence<row...>) {
  (registerRow<row>(session), ...);
}

}  // namespace

void tzRegisterKeys(tzSession& session) {
  registerRows(session, std::make_index_sequence<kNumKeys>());
}
