// What the product has made with `new` and not deleted. Only for what is linked into the test executable.
#ifndef TESTING_NEWEDBLOCKS_H
#define TESTING_NEWEDBLOCKS_H

#include <cstddef>
#include <vector>

/// Counts on the thread that made it, one object at a time.
class NewedBlocks
{
public:
    NewedBlocks();
    ~NewedBlocks();
    NewedBlocks(const NewedBlocks &) = delete;
    NewedBlocks &operator=(const NewedBlocks &) = delete;

    /// The blocks of `size` bytes that were made since and are still there.
    std::vector<void *> left(std::size_t size) const;
};

#endif
