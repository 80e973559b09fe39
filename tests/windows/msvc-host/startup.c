/* The start of a console program built for the Visual C++ ABI against the
 * Universal C Runtime (ucrtbase.dll) alone. The start code that Visual C++
 * links statically into each program (from vcruntime and the CRT's static
 * libraries) is not in Debian, so this does what a C console program needs
 * of it: the command line as argc and argv, and exit() with main's status,
 * as a C program ends (the streams flushed, atexit functions run).
 * ucrtbase.dll sets itself up when it loads. As a C runtime does, it calls
 * main with argc and argv however main is declared. */
#include <corecrt_startup.h>
#include <stdlib.h>

int main(int argc, char** argv);

int mainCRTStartup(void);

int mainCRTStartup(void) {
  _set_app_type(_crt_console_app);
  if (_configure_narrow_argv(_crt_argv_unexpanded_arguments) != 0) {
    exit(255);
  }
  exit(main(*__p___argc(), *__p___argv()));
}
