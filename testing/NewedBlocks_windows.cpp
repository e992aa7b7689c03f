#include "testing/NewedBlocksNotes.h"

#include <new>

// operator new(size_t), operator delete(void *) and operator delete(void *, size_t), by their names in the object
// files. The C++ library is linked into the program like all else here, and its `new` would come by the double of
// malloc, which is the product's alone.
extern "C" {

void *__real_malloc(std::size_t size);
void __real__ZdlPv(void *address);
void __real__ZdlPvy(void *address, std::size_t size);

void *__wrap__Znwy(std::size_t size)
{
    void *address = __real_malloc(size > 0 ? size : 1);
    if (!address)
        throw std::bad_alloc();
    noteNewed(address, size);
    return address;
}

void __wrap__ZdlPv(void *address)
{
    noteDeleted(address);
    __real__ZdlPv(address);
}

void __wrap__ZdlPvy(void *address, std::size_t size)
{
    noteDeleted(address);
    __real__ZdlPvy(address, size);
}

} // extern "C"
