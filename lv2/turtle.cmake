# SPDX-License-Identifier: MIT
# The bundle's Turtle, from the catalog. turtle_add_plugin() adds a plugin to three texts: TURTLE_PLUGINS, what each is;
# TURTLE_PRESETS, its presets; TURTLE_MANIFEST, where hosts find both.
set(TURTLE_PLUGINS "")
set(TURTLE_PRESETS "")
set(TURTLE_MANIFEST "")

# A number as a decimal. An integer, in the place of a control's value, is something else to some hosts.
function(turtle_decimal result number)
  string(REGEX REPLACE "^(-?[0-9]+)$" "\\1.0" number ${number})
  set(${result} ${number} PARENT_SCOPE)
endfunction()

# A port of audio. SIDE_left and SIDE_right belong to the group SIDE.
function(turtle_audio_port result index direction symbol name)
  set(group "")
  if(symbol MATCHES "^(.+)_(left|right)$")
    set(group " ;\n\t\tpg:group <${URI}#${CMAKE_MATCH_1}> ;\n\t\tlv2:designation pg:${CMAKE_MATCH_2}")
  endif()
  set(${result} "[
		a lv2:AudioPort , lv2:${direction}Port ;
		lv2:index ${index} ;
		lv2:symbol \"${symbol}\" ;
		lv2:name \"${name}\" ;
		lv2:shortName \"${name}\"${group}
	]" PARENT_SCOPE)
endfunction()

# The port of a parameter. Only the switch has scale points: hosts take a port that has any for a list of them.
function(turtle_control_port result index symbol)
  catalog_quote(label "${CATALOG_${symbol}_label}")
  catalog_quote(does "${CATALOG_${symbol}_does}")
  foreach(key default minimum maximum)
    turtle_decimal(${key} ${CATALOG_${symbol}_${key}})
  endforeach()
  set(steps "pprops:rangeSteps ${CATALOG_${symbol}_steps}")
  set(knob "units:unit <urn:brumbler:fuzz#knob> ;\n\t\t${steps}")
  set(decibels "units:unit units:db ;\n\t\t${steps}")
  set(switch "lv2:designation lv2:enabled ;
		lv2:portProperty lv2:toggled ;
		lv2:scalePoint [ rdfs:label \"Off\" ; rdf:value 0 ] , [ rdfs:label \"On\" ; rdf:value 1 ]")
  set(${result} "[
		a lv2:ControlPort , lv2:InputPort ;
		lv2:index ${index} ;
		lv2:symbol \"${symbol}\" ;
		lv2:name ${label} ;
		lv2:shortName ${label} ;
		rdfs:comment ${does} ;
		lv2:default ${default} ;
		lv2:minimum ${minimum} ;
		lv2:maximum ${maximum} ;
		pprops:displayPriority ${CATALOG_${symbol}_priority} ;
		${${CATALOG_${symbol}_scale}}
	]" PARENT_SCOPE)
endfunction()

# Adds the plugin `URI`, called `NAME` and described in a line by `ABOUT`. Behind them stand its audio ports, each as
# direction, symbol and name; the parameters' ports come after these.
function(turtle_add_plugin URI NAME ABOUT)
  set(PORTS "")
  set(index 0)
  set(comma "")
  while(ARGN)
    list(POP_FRONT ARGN direction symbol name)
    turtle_audio_port(port ${index} ${direction} ${symbol} "${name}")
    string(APPEND PORTS "${comma}${port}")
    set(comma " , ")
    math(EXPR index "${index} + 1")
  endwhile()
  set(GROUPS "")
  if(PORTS MATCHES "pg:group")
    set(GROUPS " ;\n\tpg:mainInput <${URI}#in> ;\n\tpg:mainOutput <${URI}#out> .

<${URI}#in>
	a pg:StereoGroup , pg:InputGroup ;
	lv2:name \"In\" ;
	lv2:symbol \"in\" .

<${URI}#out>
	a pg:StereoGroup , pg:OutputGroup ;
	lv2:name \"Out\" ;
	lv2:symbol \"out\"")
  endif()
  foreach(symbol IN LISTS CATALOG_PARAMETERS)
    turtle_control_port(port ${index} ${symbol})
    string(APPEND PORTS "${comma}${port}")
    math(EXPR index "${index} + 1")
  endforeach()
  file(READ ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/plugin.ttl.in plugin)
  string(CONFIGURE "${plugin}" plugin @ONLY)

  set(presets "")
  set(manifest "
<${URI}>
	a lv2:Plugin ;
	lv2:binary <brumbler_lv2${CMAKE_SHARED_MODULE_SUFFIX}> ;
	rdfs:seeAlso <brumbler.ttl> .
")
  foreach(preset IN LISTS CATALOG_PRESETS)
    set(head "\n<${URI}#${preset}>\n\ta pset:Preset ;\n\tlv2:appliesTo <${URI}> ;\n")
    string(APPEND manifest "${head}\trdfs:seeAlso <presets.ttl> .\n")
    set(values "")
    foreach(symbol IN LISTS CATALOG_PRESET_PARAMETERS)
      turtle_decimal(value ${CATALOG_PRESET_${preset}_${symbol}})
      list(APPEND values "[ lv2:symbol \"${symbol}\" \; pset:value ${value} ]")
    endforeach()
    list(JOIN values " ,\n\t\t" values)
    catalog_quote(label "${CATALOG_PRESET_${preset}_label}")
    string(APPEND presets "${head}\trdfs:label ${label} ;\n\tlv2:port ${values} .\n")
  endforeach()
  set(TURTLE_PLUGINS "${TURTLE_PLUGINS}${plugin}" PARENT_SCOPE)
  set(TURTLE_PRESETS "${TURTLE_PRESETS}${presets}" PARENT_SCOPE)
  set(TURTLE_MANIFEST "${TURTLE_MANIFEST}${manifest}" PARENT_SCOPE)
endfunction()
