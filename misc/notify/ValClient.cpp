#include "misc/notify/ValClient.h"

#include <utility>

namespace
{

constinit thread_local detail::ClientWrite* innermostWrite = nullptr;

} // namespace

detail::ClientWrite::ClientWrite(const void* client) noexcept
    : client_(client), outer_(std::exchange(innermostWrite, this))
{
}

detail::ClientWrite::~ClientWrite()
{
    innermostWrite = outer_;
}

void detail::ClientWrite::clientEnds(const void* client) noexcept
{
    for (ClientWrite* write = innermostWrite; write != nullptr; write = write->outer_)
        if (write->client_ == client)
            write->client_ = nullptr;
}

template class ValClient<bool>;
template class ValClient<int>;
template class ValClient<unsigned>;
template class ValClient<long>;
template class ValClient<unsigned long>;
template class ValClient<float>;
template class ValClient<double>;
template class ValClient<LightweightString<char>>;
template class ValClient<LightweightString<wchar_t>>;
