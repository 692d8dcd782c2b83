# SPDX-License-Identifier: Apache-2.0
# Included by src/CMakeLists.txt: generated sources are known in the folder of their target only.
include(EmbedResources)

find_program(XSLTPROC xsltproc REQUIRED)

# The rules' documentation is made from the rules themselves and one file of explanations.
set(rules_page "${CMAKE_CURRENT_BINARY_DIR}/LandscapeValidationRules.htm")
add_custom_command(
  OUTPUT "${rules_page}"
  COMMAND "${XSLTPROC}" --nonet -o "${rules_page}" rules_page.xslt validation_rules.xml
  DEPENDS resources/rules_page.xslt resources/validation_rules.xml
          resources/rule_descriptions.xml
  WORKING_DIRECTORY "${CMAKE_CURRENT_SOURCE_DIR}/resources"
  VERBATIM)

# Ids 101 to 114 are known to hosts. Those from 200 up are the library's own: the schema of the XML
# namespace, which the landscape schema imports, the rules' documentation, and the explanations that
# it is made from, for hosts that explain rules in other places.
naxfewxmldb_embed_resources(naxfewxmldb_objects
  101 MY_TEXTINCLUDE resources/xsd_to_ddl.xslt
  106 MY_TEXTINCLUDE resources/landscape.xsd
  108 MY_TEXTINCLUDE resources/report_page.htm
  109 MY_TEXTINCLUDE resources/report_style.css
  111 RT_RCDATA resources/NAX-icons.woff
  112 MY_TEXTINCLUDE resources/validation_rules.xml
  113 MY_TEXTINCLUDE resources/export_actions.xml
  114 RT_RCDATA resources/naxlogo_nax_quelin_10.png
  200 MY_TEXTINCLUDE resources/xml_namespace.xsd
  201 MY_TEXTINCLUDE "${rules_page}"
  202 MY_TEXTINCLUDE resources/rule_descriptions.xml)
