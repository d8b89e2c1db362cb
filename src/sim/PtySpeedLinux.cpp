// The current rate of a terminal as the Linux kernel keeps it, including
// rates set with BOTHER that the C library's termios cannot express. Kept
// apart because <asm/termbits.h> and <termios.h> define the same names.
#include <asm/ioctls.h>
#include <asm/termbits.h>

extern "C" int ioctl(int fd, unsigned long request, ...);

int tavoPtyCustomSpeed(int fd)
{
    struct termios2 t {
    };
    if (ioctl(fd, TCGETS2, &t) != 0)
        return -1;
    return static_cast<int>(t.c_ospeed);
}
