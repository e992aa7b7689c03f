// Keeps files in the page cache: a measurement of a read should not measure the disk. Says "ready" and holds them until
// its standard input ends.
#include <cstdio>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

int main(int argc, char **argv)
{
    for (int i = 1; i < argc; ++i) {
        const int file = ::open(argv[i], O_RDONLY);
        struct stat status;
        if (file < 0 || ::fstat(file, &status) != 0) {
            std::perror(argv[i]);
            return 1;
        }
        if (status.st_size == 0)
            continue;
        const std::size_t size = static_cast<std::size_t>(status.st_size);
        void *pages = ::mmap(nullptr, size, PROT_READ, MAP_SHARED | MAP_POPULATE, file, 0);
        if (pages == MAP_FAILED || ::mlock(pages, size) != 0)
            std::perror("keep_in_memory: not locked");
        ::close(file);
    }
    std::puts("ready");
    std::fflush(stdout);
    while (std::getchar() != EOF) {
    }
    return 0;
}
