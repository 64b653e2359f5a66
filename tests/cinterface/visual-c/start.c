/* What the compiler's own start-up code does before main. */

int _configure_narrow_argv(int mode);
int _initialize_narrow_environment(void);
int* __p___argc(void);
char*** __p___argv(void);
void exit(int status);
int main(int count, char** arguments);

/* Tells the linker's floating-point support; every program of this compiler has it. */
int _fltused = 0;

void mainCRTStartup(void) {
    const int keepQuotes = 1;
    _configure_narrow_argv(keepQuotes);
    _initialize_narrow_environment();
    exit(main(*__p___argc(), *__p___argv()));
}
