# Names that a vendor sets for its build without changing code: -DWENDRA_SERVICE_DOMAIN=... and so
# on. An empty name gets a default that is made of the others.
set(WENDRA_SERVICE_DOMAIN "wendra.example" CACHE STRING
  "Registered domain of the service, lower case; its hosts may be loaded")
set(WENDRA_INSTANCE_SUFFIX "" CACHE STRING
  "What a bare instance name is completed with; default .on.SERVICE_DOMAIN")
set(WENDRA_RELEASE_HOST "" CACHE STRING
  "Host of the update feed; default releases.SERVICE_DOMAIN")
set(WENDRA_APPLICATION_ID "Wendra.Desktop" CACHE STRING
  "AppUserModelID, and the key's name below HKEY_CURRENT_USER\\Software")
set(WENDRA_COMPANY "Wendra" CACHE STRING "CompanyName of the version resource")
set(WENDRA_VERSION "" CACHE STRING
  "Four-part file and product version; default the project's version and .0")

if(NOT WENDRA_SERVICE_DOMAIN MATCHES "^[a-z0-9-]+(\\.[a-z0-9-]+)+$")
  message(FATAL_ERROR "WENDRA_SERVICE_DOMAIN is not a domain in lower case")
endif()
macro(wendra_default name value)
  if("${${name}}" STREQUAL "")
    set(${name} "${value}")  # from here on it hides the empty cache entry
  endif()
endmacro()
wendra_default(WENDRA_INSTANCE_SUFFIX ".on.${WENDRA_SERVICE_DOMAIN}")
wendra_default(WENDRA_RELEASE_HOST "releases.${WENDRA_SERVICE_DOMAIN}")
wendra_default(WENDRA_VERSION "${PROJECT_VERSION}.0")

# The public key of a key pair for development. Its private key was deleted, so no update can be
# signed with it. A release needs a key of its own.
set(WENDRA_DEVELOPMENT_PUBLIC_KEY "hkV2NDNseC0m3GZKIVorQX9keGxS1YMN4sp5x++xwg8=")
set(WENDRA_EDDSA_PUBLIC_KEY "" CACHE STRING "EdDSA public key of the updates, 44 base64 characters")
option(WENDRA_RELEASE "Build for users: needs WENDRA_EDDSA_PUBLIC_KEY" OFF)
set(WENDRA_UPDATE_KEY "${WENDRA_EDDSA_PUBLIC_KEY}")
if(WENDRA_UPDATE_KEY STREQUAL "")
  if(WENDRA_RELEASE)
    message(FATAL_ERROR "WENDRA_RELEASE needs WENDRA_EDDSA_PUBLIC_KEY")
  endif()
  set(WENDRA_UPDATE_KEY "${WENDRA_DEVELOPMENT_PUBLIC_KEY}")
endif()
if(NOT WENDRA_UPDATE_KEY MATCHES "^[A-Za-z0-9+/]+=$")
  message(FATAL_ERROR "WENDRA_EDDSA_PUBLIC_KEY is not base64")
endif()
string(LENGTH "${WENDRA_UPDATE_KEY}" WENDRA_UPDATE_KEY_LENGTH)
if(NOT WENDRA_UPDATE_KEY_LENGTH EQUAL 44)
  message(FATAL_ERROR "WENDRA_EDDSA_PUBLIC_KEY has ${WENDRA_UPDATE_KEY_LENGTH} characters, not 44")
endif()
if(NOT WENDRA_VERSION MATCHES "^[0-9]+\\.[0-9]+\\.[0-9]+\\.[0-9]+$")
  message(FATAL_ERROR "WENDRA_VERSION is not a four-part version")
endif()
string(REPLACE "." "," WENDRA_VERSION_COMMAS "${WENDRA_VERSION}")

configure_file(base/product.h.in generated/base/product.h @ONLY)
