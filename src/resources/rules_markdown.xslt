<?xml version="1.0" encoding="UTF-8"?>
<!-- SPDX-License-Identifier: Apache-2.0 -->
<!--
  Makes docs/rules.md from validation_rules.xml, with the texts of rule_descriptions.xml beside this
  file. From the project's root:

    xsltproc -o docs/rules.md src/resources/rules_markdown.xslt src/resources/validation_rules.xml
-->
<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">
  <xsl:output method="text" encoding="UTF-8"/>

  <xsl:variable name="descriptions" select="document('rule_descriptions.xml')/RuleDescriptions/Description"/>

  <xsl:template match="/ValidationRules">
    <xsl:variable name="entries" select="$descriptions[@name] | Rule"/>
    <xsl:text>&lt;!-- Generated from src/resources/validation_rules.xml and src/resources/rule_descriptions.xml by
     xsltproc -o docs/rules.md src/resources/rules_markdown.xslt src/resources/validation_rules.xml
     Change these files, not this one. --&gt;

# Validation rules

What each rule finds in a landscape, why it matters, and how to mend it. The same texts are the page
`LandscapeValidationRules.htm`, which findings link to.

| Rule | Severity | Name |
| --- | --- | --- |
</xsl:text>
    <xsl:apply-templates select="$entries" mode="index">
      <xsl:sort select="@id" data-type="number"/>
    </xsl:apply-templates>
    <xsl:apply-templates select="$entries" mode="entry">
      <xsl:sort select="@id" data-type="number"/>
    </xsl:apply-templates>
  </xsl:template>

  <xsl:template match="*" mode="index">
    <xsl:text>| [</xsl:text>
    <xsl:call-template name="label"/>
    <xsl:value-of select="concat('](#rule-', @id, ') | ', @type, ' | ', @name, ' |&#10;')"/>
  </xsl:template>

  <xsl:template match="*" mode="entry">
    <xsl:variable name="description" select="$descriptions[@id = current()/@id]"/>
    <xsl:value-of select="concat('&#10;&lt;a id=&quot;rule-', @id, '&quot;&gt;&lt;/a&gt;&#10;&#10;## ')"/>
    <xsl:call-template name="label"/>
    <xsl:value-of select="concat(': ', @name, '&#10;&#10;Severity: ', @type)"/>
    <xsl:text>&#10;&#10;**What it finds.** </xsl:text>
    <xsl:apply-templates select="$description/Finds/node()"/>
    <xsl:text>&#10;&#10;**Why it matters.** </xsl:text>
    <xsl:apply-templates select="$description/Matters/node()"/>
    <xsl:text>&#10;&#10;**Example.**&#10;&#10;```xml&#10;</xsl:text>
    <xsl:value-of select="$description/Example"/>
    <xsl:text>&#10;```&#10;&#10;**How to mend it.** </xsl:text>
    <xsl:apply-templates select="$description/Mend/node()"/>
    <xsl:if test="@msg">
      <xsl:value-of select="concat('&#10;&#10;**Message.** `', normalize-space(@msg), '`')"/>
    </xsl:if>
    <xsl:text>&#10;</xsl:text>
  </xsl:template>

  <xsl:template name="label">
    <xsl:choose>
      <xsl:when test="@id &lt; 0">Schema</xsl:when>
      <xsl:otherwise>Rule <xsl:value-of select="@id"/></xsl:otherwise>
    </xsl:choose>
  </xsl:template>

  <xsl:template match="code">
    <xsl:value-of select="concat('`', ., '`')"/>
  </xsl:template>
</xsl:stylesheet>
