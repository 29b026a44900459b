# Read by CTest after the tests have been listed: what not every SDK can do gets a label, to be left out by.

# The stand-in speaks plain TCP to a TURN server, the SDK always TLS; and it tries all of 21 TURN servers, where the SDK
# takes relay candidates of four.
set(stand_in "/Tcp|TwentyOneAreAllUsed")
# SDK 1.16 has no local description until it is connected, so it can give no answer with all candidates.
set(complete_answer "CompleteAnswer|CompleteOffer|WhepPlayer|InterruptedCamera\\.EndsItsCalls")

foreach(test IN LISTS measuring_calls waiting_calls decoding_calls)
  set(labels call)
  if(test MATCHES "${stand_in}")
    list(APPEND labels stand-in)
  endif()
  if(test MATCHES "${complete_answer}")
    list(APPEND labels complete-answer)
  endif()
  set_tests_properties("${test}" PROPERTIES LABELS "${labels}")
endforeach()
