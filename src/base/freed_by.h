#pragma once
// The deleter for what a C library hands out: std::unique_ptr<DIR, FreedBy<closedir>>.

namespace relay_hub {

template <auto free_it>
struct FreedBy {
    template <typename Thing>
    void operator()(Thing* thing) const {
        free_it(thing);
    }
};

}  // namespace relay_hub
