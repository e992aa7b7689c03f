// How NewedBlocks learns of them: called by what the linker puts in the place of `new` and `delete`, whose names in the
// object files differ from system to system.
#ifndef TESTING_NEWEDBLOCKSNOTES_H
#define TESTING_NEWEDBLOCKSNOTES_H

#include <cstddef>

void noteNewed(void *address, std::size_t size);
void noteDeleted(void *address);

#endif
