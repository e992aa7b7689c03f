#include "testing/NewedBlocks.h"

#include "testing/NewedBlocksNotes.h"

#include <cstdlib>
#include <stdexcept>

namespace {

struct Block {
    void *address;
    std::size_t size;
};

const std::size_t kMostBlocks = 100000;

/// A plain array: what counts here must not allocate by `new` itself.
struct Blocks {
    std::size_t count;
    Block blocks[kMostBlocks];
};

thread_local Blocks *watched = nullptr;

} // namespace

void noteNewed(void *address, std::size_t size)
{
    if (!watched)
        return;
    if (watched->count == kMostBlocks)
        std::abort();
    watched->blocks[watched->count++] = Block{address, size};
}

void noteDeleted(void *address)
{
    if (!watched || !address)
        return;
    for (std::size_t i = watched->count; i-- > 0;) {
        if (watched->blocks[i].address == address) {
            watched->blocks[i] = watched->blocks[--watched->count];
            return;
        }
    }
}

NewedBlocks::NewedBlocks()
{
    if (watched)
        throw std::logic_error("blocks are counted already");
    watched = static_cast<Blocks *>(std::calloc(1, sizeof(Blocks)));
}

NewedBlocks::~NewedBlocks()
{
    std::free(watched);
    watched = nullptr;
}

std::vector<void *> NewedBlocks::left(std::size_t size) const
{
    // Copied first: the answer is made with `new`, too.
    void *found[64];
    std::size_t count = 0;
    for (std::size_t i = 0; i < watched->count && count < 64; ++i) {
        if (watched->blocks[i].size == size)
            found[count++] = watched->blocks[i].address;
    }
    return std::vector<void *>(found, found + count);
}
