# The plug-in. Its code is C++, but it is linked with the C driver and needs no C++ runtime.

# The load balancers of the six server zones: a property of the deployment, 1 to 63 characters each.
set(AEROLINK_HOST_EUROPE "europe.lb.aerolink.example" CACHE STRING "Load balancer of the Europe zone")
set(AEROLINK_HOST_AMERICA "america.lb.aerolink.example" CACHE STRING "Load balancer of the America zone")
set(AEROLINK_HOST_ASIA_PACIFIC "asia-pacific.lb.aerolink.example" CACHE STRING "Load balancer of the Asia Pacific zone")
set(AEROLINK_HOST_CHINA "china.lb.aerolink.example" CACHE STRING "Load balancer of the China zone")
set(AEROLINK_HOST_TEST "test.lb.aerolink.example" CACHE STRING "Load balancer for tests")
set(AEROLINK_HOST_DEVELOPMENT "development.lb.aerolink.example" CACHE STRING "Load balancer for development")

set(AEROLINK_HOSTS "")
foreach(zone EUROPE AMERICA ASIA_PACIFIC CHINA TEST DEVELOPMENT)
    string(LENGTH "${AEROLINK_HOST_${zone}}" length)
    if(length LESS 1 OR length GREATER 63)
        message(FATAL_ERROR "AEROLINK_HOST_${zone} must have 1 to 63 characters, it has ${length}")
    endif()
    list(APPEND AEROLINK_HOSTS "AEROLINK_HOST_${zone}=\"${AEROLINK_HOST_${zone}}\"")
endforeach()

file(GLOB AEROLINK_SOURCES CONFIGURE_DEPENDS
     ${PROJECT_SOURCE_DIR}/plugin/*.cpp ${PROJECT_SOURCE_DIR}/cloud/*.cpp ${PROJECT_SOURCE_DIR}/wifi/*.cpp
     ${PROJECT_SOURCE_DIR}/batch/*.cpp ${PROJECT_SOURCE_DIR}/whiteboard/*.cpp)

# aerolink_add_plugin(TARGET): one build of the plug-in as aerolink.so, against the platform libraries that the
# targets or libraries named zuutil and zuwificore give.
function(aerolink_add_plugin target)
    add_library(${target} MODULE ${AEROLINK_SOURCES})
    set_target_properties(${target} PROPERTIES
        PREFIX "" OUTPUT_NAME aerolink LINKER_LANGUAGE C
        CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
    target_compile_definitions(${target} PRIVATE ${AEROLINK_HOSTS})
    target_compile_options(${target} PRIVATE -fno-exceptions -fno-rtti -fno-threadsafe-statics
                           -ffunction-sections -fdata-sections -fstack-protector-strong)
    target_link_options(${target} PRIVATE -Wl,--gc-sections -Wl,-z,relro,-z,now -Wl,-z,noexecstack)
    target_link_libraries(${target} PRIVATE aerolink_warnings PkgConfig::JSONC crypt
                          -Wl,--no-as-needed zuutil zuwificore -Wl,--as-needed)
endfunction()

aerolink_add_plugin(aerolink)
set_target_properties(aerolink PROPERTIES LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR})
target_compile_options(aerolink PRIVATE -Os)
target_compile_definitions(aerolink PRIVATE _FORTIFY_SOURCE=2)
