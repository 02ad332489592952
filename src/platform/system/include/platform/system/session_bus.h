#pragma once

namespace pellago {

/// Makes sure that nothing in this process waits for a session bus that takes connections and never answers:
/// the bus is asked once, with 5 seconds to answer, and a bus that does not is taken out of the environment.
/// To be called before anything else connects to the bus.
void ForgetDumbSessionBus();

}  // namespace pellago
