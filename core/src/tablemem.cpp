#include "tablemem.h"

__STable::__STable(unsigned long elementSize, int capacity, int) : __STableMem(elementSize)
{
    if (capacity > 0)
        GrowTo(capacity);
}

__STable::~__STable() = default;
