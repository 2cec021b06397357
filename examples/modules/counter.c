/* A Kelvane module in C with sd-bus: counts the instructions of a run, answers IN from port 30H
 * with the low byte of that count, and prints every OUT. Build and run:
 *
 *   cc -O2 -I../../modules counter.c -o counter $(pkg-config --cflags --libs libsystemd)
 *   ./counter counter.module        # then "counter.module" in a slot of External Modules
 *
 * With --quiet it prints nothing; with --io-only it offers readio and writeio alone (the
 * benchmark runs it both ways). */
#include "ikelvane.h"

#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <systemd/sd-bus.h>

static uint64_t count;
static int quiet;

static int objectinit(sd_bus_message* m, void* data, sd_bus_error* error)
{
    (void)data;
    (void)error;
    count = 0;
    return sd_bus_reply_method_return(m, "");
}

static int objectrefresh(sd_bus_message* m, void* data, sd_bus_error* error)
{
    (void)data;
    (void)error;
    ++count;
    return sd_bus_reply_method_return(m, "");
}

static int objectterm(sd_bus_message* m, void* data, sd_bus_error* error)
{
    (void)data;
    (void)error;
    if (!quiet)
        printf("objectterm after %llu instructions\n", (unsigned long long)count);
    return sd_bus_reply_method_return(m, "");
}

/* The cells come in and go back out: change them to tell Kelvane (and the modules after this one). */
static int cells(sd_bus_message* m, int out)
{
    int32_t port, value;
    int r = sd_bus_message_read(m, IKELVANE_IO_SIGNATURE, &port, &value);
    if (r < 0)
        return r;
    if (!out && port == 0x30)
        value = (int32_t)(count & 0xFF); /* IN 30H: the count */
    if (out && !quiet)
        printf("OUT %02XH -> port %02XH\n", (unsigned)value & 0xFF, (unsigned)port & 0xFF);
    return sd_bus_reply_method_return(m, IKELVANE_IO_SIGNATURE, port, value);
}

static int readio(sd_bus_message* m, void* data, sd_bus_error* error)
{
    (void)data;
    (void)error;
    return cells(m, 0);
}

static int writeio(sd_bus_message* m, void* data, sd_bus_error* error)
{
    (void)data;
    (void)error;
    return cells(m, 1);
}

#define IO_METHODS                                                                                              \
    SD_BUS_METHOD_WITH_NAMES(IKELVANE_METHOD_READIO, "ii", SD_BUS_PARAM(port) SD_BUS_PARAM(value), "ii",        \
                             SD_BUS_PARAM(port) SD_BUS_PARAM(value), readio, 0),                                \
        SD_BUS_METHOD_WITH_NAMES(IKELVANE_METHOD_WRITEIO, "ii", SD_BUS_PARAM(port) SD_BUS_PARAM(value), "ii",   \
                                 SD_BUS_PARAM(port) SD_BUS_PARAM(value), writeio, 0)

/* A module offers the methods it wants; Kelvane calls only those. */
static const sd_bus_vtable vtable[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD(IKELVANE_METHOD_OBJECTINIT, "", "", objectinit, 0),
    SD_BUS_METHOD(IKELVANE_METHOD_OBJECTREFRESH, "", "", objectrefresh, 0),
    SD_BUS_METHOD(IKELVANE_METHOD_OBJECTTERM, "", "", objectterm, 0),
    IO_METHODS,
    SD_BUS_VTABLE_END};
static const sd_bus_vtable iovtable[] = {SD_BUS_VTABLE_START(0), IO_METHODS, SD_BUS_VTABLE_END};

int main(int argc, char** argv)
{
    const char* name = "counter.module";
    const sd_bus_vtable* table = vtable;
    sd_bus* bus = NULL;
    for (int i = 1; i < argc; ++i) {
        if (strcmp(argv[i], "--quiet") == 0)
            quiet = 1;
        else if (strcmp(argv[i], "--io-only") == 0)
            table = iovtable;
        else
            name = argv[i];
    }
    int r = sd_bus_open_user(&bus);
    if (r >= 0)
        r = sd_bus_add_object_vtable(bus, NULL, IKELVANE_MODULE_PATH, IKELVANE_MODULE_INTERFACE, table, NULL);
    if (r >= 0)
        r = sd_bus_request_name(bus, name, 0);
    if (r < 0) {
        fprintf(stderr, "counter: cannot serve %s: %s\n", name, strerror(-r));
        return 1;
    }
    setvbuf(stdout, NULL, _IOLBF, 0);
    for (;;) {
        r = sd_bus_process(bus, NULL);
        if (r < 0)
            break;
        if (r == 0 && sd_bus_wait(bus, UINT64_MAX) < 0)
            break;
    }
    sd_bus_unref(bus);
    return 0;
}
