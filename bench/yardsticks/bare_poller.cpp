// Yardstick: one thread that asks the printer service every 100 ms, and nothing else.

#include "plain_exchange.h"

int main() {
    for (std::string reply;;) {
        reply = exchange_status(reply);
        usleep(100000);
    }
}
