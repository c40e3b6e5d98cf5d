#pragma once

// The bus library of systemd, and the two that offer its functions without systemd.
#if __has_include(<systemd/sd-bus.h>)
#    include <systemd/sd-bus.h>
#elif __has_include(<elogind/sd-bus.h>)
#    include <elogind/sd-bus.h>
#else
#    include <basu/sd-bus.h>
#endif
