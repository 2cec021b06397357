/* The Kelvane module protocol over the session bus, for module writers (C or C++, no library of
 * Kelvane needed) and for Kelvane's own host and automation server. A module is a program that owns
 * a well-known bus name: the reference text the user types into "External Modules"
 * ("ApplicationName.ObjectName"), exactly as it stands. */
#ifndef IKELVANE_H
#define IKELVANE_H

/* The module's object and interface. Kelvane calls these five methods, with errors ignored, in
 * the order of the slots 1 to 5; a module may leave out any of them.
 *
 *   objectinit()      at each Start of a simulation
 *   objectrefresh()   at the very end of every simulated instruction
 *   objectterm()      when Kelvane's main window closes
 *   readio(in i port, in i value, out i port, out i value)
 *                     at each IN, before anything else; value comes in as -1 or as what an earlier
 *                     module left. Answer a byte 0-255 to supply the IN's value, or hand the value
 *                     back unchanged. Both cells are shared by the five modules of one IN.
 *   writeio(in i port, in i value, out i port, out i value)
 *                     at each OUT, after the devices and the ports; what comes back is what the
 *                     next module is told.
 *
 * Every call waits for its reply for at most IKELVANE_CALL_TIMEOUT_USEC and blocks the simulation
 * meanwhile, so a module that answers objectrefresh sets the pace of the run. Kelvane looks once,
 * by introspection when it connects, at which methods a module offers: a module without
 * objectrefresh costs nothing per instruction. Calls never start a module that is not running;
 * connecting does, by D-Bus activation, when a .service file names the module. */
#define IKELVANE_MODULE_PATH "/"
#define IKELVANE_MODULE_INTERFACE "ikelvane.module"
#define IKELVANE_METHOD_OBJECTINIT "objectinit"
#define IKELVANE_METHOD_OBJECTREFRESH "objectrefresh"
#define IKELVANE_METHOD_OBJECTTERM "objectterm"
#define IKELVANE_METHOD_READIO "readio"
#define IKELVANE_METHOD_WRITEIO "writeio"
#define IKELVANE_IO_SIGNATURE "ii" /* port, value: in and out */
#define IKELVANE_CALL_TIMEOUT_USEC 1000000ULL

/* The automation server: the running Kelvane owns this name. A module may call it from inside
 * any of its methods (Kelvane serves the call while it waits for the module's answer), and any
 * other program may call it at any time. All numbers are 32-bit signed integers ("i"); getinst
 * answers a string ("s"). Out-of-range arguments give -1 from a getter and nothing from a setter;
 * no method answers with an error.
 *
 *   getmem(address) -> byte         setmem(address, vl)       getio(address) -> byte
 *   setio(address, vl)              i8085trap()  i8085rst75()  i8085rst65()  i8085rst55()
 *   i8085intr()  i8085reset()       (each acts only while its panel button is enabled)
 *   gethalt() -> 0/1                getcrystal() -> MHz       getclockcycles() -> cycles
 *   getinst() -> text               geta() getf() getb() getc() getd() gete() geth() getl()
 *   getsp() -> word                 getpc() -> word */
#define IKELVANE_SERVER_NAME "ikelvane.server"
#define IKELVANE_SERVER_PATH "/server"
#define IKELVANE_SERVER_INTERFACE "ikelvane._server"

#endif
