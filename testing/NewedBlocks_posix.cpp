#include "testing/NewedBlocksNotes.h"

// operator new(size_t), operator delete(void *) and operator delete(void *, size_t), by their names in the object
// files.
extern "C" {

void *__real__Znwm(std::size_t size);
void __real__ZdlPv(void *address);
void __real__ZdlPvm(void *address, std::size_t size);

void *__wrap__Znwm(std::size_t size)
{
    void *address = __real__Znwm(size);
    noteNewed(address, size);
    return address;
}

void __wrap__ZdlPv(void *address)
{
    noteDeleted(address);
    __real__ZdlPv(address);
}

void __wrap__ZdlPvm(void *address, std::size_t size)
{
    noteDeleted(address);
    __real__ZdlPvm(address, size);
}

} // extern "C"
