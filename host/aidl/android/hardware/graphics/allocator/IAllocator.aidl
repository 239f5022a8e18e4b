package android.hardware.graphics.allocator;

// The one method of the graphics allocator (V2) that a process needs to find the stable-C
// mapper. Only the kit's host build uses this subset: a device has the full interface, whose
// transaction codes differ.
@VintfStability
interface IAllocator {
    String getIMapperLibrarySuffix();
}
