#include <cstddef>

std::size_t queue_one_event();

int main() { return queue_one_event() == 1 ? 0 : 1; }
