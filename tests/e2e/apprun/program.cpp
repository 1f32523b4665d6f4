#include <cstdio>

#include <unistd.h>

int functionOf_OTHER();
int functionOf_NEW();

// Says what it was started with.
int main(int argc, char **argv)
{
    for (int number = 1; number < argc; ++number)
        std::printf("argument %s\n", argv[number]);
    for (char **entry = environ; *entry; ++entry)
        std::printf("%s\n", *entry);
    return functionOf_OTHER() == functionOf_NEW() ? 7 : 1;
}
