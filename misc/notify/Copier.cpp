#include "misc/notify/Copier.h"

Copier::~Copier() = default;

void Copier::preCopy() {}

void Copier::postCopy() {}

bool Copier::isMove() const
{
    return type_ == eMove;
}
