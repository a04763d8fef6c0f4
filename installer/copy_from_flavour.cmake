# Copies a file that another FLAVOUR builds, FROM its folder TO one of this flavour.
if(NOT EXISTS ${FROM})
  message(FATAL_ERROR "${FROM} is missing: run scripts/build.sh ${FLAVOUR} first")
endif()
file(COPY_FILE ${FROM} ${TO} ONLY_IF_DIFFERENT)
