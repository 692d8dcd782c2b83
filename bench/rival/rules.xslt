<?xml version="1.0" encoding="UTF-8"?>
<!-- SPDX-License-Identifier: Apache-2.0 -->
<!--
  The validation rules as one would write them for an XSLT processor: every look-up goes through a
  key, every group of duplicates is found with its first member (Muenchian grouping). One line of
  text per finding: rule id, uuid and description, parted by tabs. Line ends and tabs inside of
  values are written as blanks. It reads one file; included files are not followed.
-->
<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">
  <xsl:output method="text" encoding="UTF-8"/>

  <!-- Every entry by its uuid; an absent one counts as empty. One key for all repositories, so that
       a uuid which nobody shares costs one look-up. -->
  <xsl:key name="entry" use="string(@uuid)"
           match="Service|Item|Node|Workspace|Messageserver|Router|Webdispatcher|LDAP"/>
  <xsl:key name="item-by-service" match="Item" use="string(@serviceid)"/>
  <xsl:key name="webdispatcher-by-msid" match="Webdispatcher" use="string(@msid)"/>

  <xsl:template match="/">
    <xsl:apply-templates select="Landscape/Services/Service"/>
    <xsl:apply-templates select="Landscape/Workspaces//Workspace"/>
    <xsl:apply-templates select="Landscape/Workspaces//Node"/>
    <xsl:apply-templates select="Landscape/Workspaces//Item"/>
    <xsl:apply-templates select="Landscape/Messageservers/Messageserver"/>
    <xsl:apply-templates select="Landscape/Routers/Router"/>
    <xsl:apply-templates select="Landscape/Webdispatchers/Webdispatcher"/>
    <xsl:apply-templates select="Landscape/LDAPS/LDAP"/>
  </xsl:template>

  <xsl:template name="finding">
    <xsl:param name="rule"/>
    <xsl:param name="uuid" select="@uuid"/>
    <xsl:param name="text"/>
    <xsl:value-of select="concat($rule, '&#9;', translate($uuid, '&#9;&#10;&#13;', '   '), '&#9;',
                                 translate($text, '&#9;&#10;&#13;', '   '), '&#10;')"/>
  </xsl:template>

  <!-- Every hexadecimal digit becomes x, a real x becomes something else. -->
  <xsl:template name="format">
    <xsl:param name="rule"/>
    <xsl:param name="repository"/>
    <xsl:if test="translate(@uuid, '0123456789abcdefABCDEFx', 'xxxxxxxxxxxxxxxxxxxxxx_')
                  != 'xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx'">
      <xsl:call-template name="finding">
        <xsl:with-param name="rule" select="$rule"/>
        <xsl:with-param name="text" select="concat('The UUID ', @uuid, ' in the ', $repository,
          ' repository does not conform to the expected UUID format')"/>
      </xsl:call-template>
    </xsl:if>
  </xsl:template>

  <xsl:template name="duplicate">
    <xsl:param name="rule"/>
    <xsl:param name="repository"/>
    <xsl:param name="tail"/>
    <xsl:call-template name="finding">
      <xsl:with-param name="rule" select="$rule"/>
      <xsl:with-param name="text" select="concat('The UUID ', @uuid,
        ' has been employed redundantly within the ', $repository, ' repository', $tail)"/>
    </xsl:call-template>
  </xsl:template>

  <!-- One line per repository that occurs among the entries of the same uuid. -->
  <xsl:template name="shared">
    <xsl:param name="rule"/>
    <xsl:param name="entity"/>
    <xsl:param name="same"/>
    <xsl:if test="$same[self::Service]">
      <xsl:call-template name="used-in">
        <xsl:with-param name="rule" select="$rule"/>
        <xsl:with-param name="entity" select="$entity"/>
        <xsl:with-param name="repository" select="'Services'"/>
      </xsl:call-template>
    </xsl:if>
    <xsl:if test="$same[self::Messageserver]">
      <xsl:call-template name="used-in">
        <xsl:with-param name="rule" select="$rule"/>
        <xsl:with-param name="entity" select="$entity"/>
        <xsl:with-param name="repository" select="'Message Servers'"/>
      </xsl:call-template>
    </xsl:if>
    <xsl:if test="$same[self::Router]">
      <xsl:call-template name="used-in">
        <xsl:with-param name="rule" select="$rule"/>
        <xsl:with-param name="entity" select="$entity"/>
        <xsl:with-param name="repository" select="'Routers'"/>
      </xsl:call-template>
    </xsl:if>
    <xsl:if test="$same[self::Item]">
      <xsl:call-template name="used-in">
        <xsl:with-param name="rule" select="$rule"/>
        <xsl:with-param name="entity" select="$entity"/>
        <xsl:with-param name="repository" select="'Items'"/>
      </xsl:call-template>
    </xsl:if>
    <xsl:if test="$same[self::Workspace]">
      <xsl:call-template name="used-in">
        <xsl:with-param name="rule" select="$rule"/>
        <xsl:with-param name="entity" select="$entity"/>
        <xsl:with-param name="repository" select="'Workspaces'"/>
      </xsl:call-template>
    </xsl:if>
    <xsl:if test="$same[self::Webdispatcher]">
      <xsl:call-template name="used-in">
        <xsl:with-param name="rule" select="$rule"/>
        <xsl:with-param name="entity" select="$entity"/>
        <xsl:with-param name="repository" select="'Webdispatchers'"/>
      </xsl:call-template>
    </xsl:if>
    <xsl:if test="$same[self::Node]">
      <xsl:call-template name="used-in">
        <xsl:with-param name="rule" select="$rule"/>
        <xsl:with-param name="entity" select="$entity"/>
        <xsl:with-param name="repository" select="'Nodes'"/>
      </xsl:call-template>
    </xsl:if>
    <xsl:if test="$same[self::LDAP]">
      <xsl:call-template name="used-in">
        <xsl:with-param name="rule" select="$rule"/>
        <xsl:with-param name="entity" select="$entity"/>
        <xsl:with-param name="repository" select="'LDAPS'"/>
      </xsl:call-template>
    </xsl:if>
  </xsl:template>

  <xsl:template name="used-in">
    <xsl:param name="rule"/>
    <xsl:param name="entity"/>
    <xsl:param name="repository"/>
    <xsl:call-template name="finding">
      <xsl:with-param name="rule" select="$rule"/>
      <xsl:with-param name="text" select="concat('The ', $entity, ' UUID ', @uuid,
        ' has been employed redundantly. The same UUID is used in the ', $repository,
        ' repository ')"/>
    </xsl:call-template>
  </xsl:template>

  <xsl:template match="Service">
    <xsl:if test="string(@routerid) and not(key('entry', @routerid)[self::Router])">
      <xsl:call-template name="finding">
        <xsl:with-param name="rule" select="0"/>
        <xsl:with-param name="text"
                        select="concat('The service: ', @uuid,
                                       ' references to non-existing router: ', @routerid)"/>
      </xsl:call-template>
    </xsl:if>
    <xsl:if test="@sncop and not(@sncop = '0' or @sncop = '1' or @sncop = '2' or @sncop = '3'
                  or @sncop = '9' or @sncop = '-1')">
      <xsl:call-template name="finding">
        <xsl:with-param name="rule" select="1"/>
        <xsl:with-param name="text"
                        select="concat('You have specified a service entry, UUID ', @uuid,
                                   ' with an invalid value: ', @sncop)"/>
      </xsl:call-template>
    </xsl:if>
    <xsl:variable name="same" select="key('entry', string(@uuid))"/>
    <xsl:if test="$same[2]">
      <xsl:if test="$same[self::Service][2]
                    and generate-id() = generate-id($same[self::Service]
                                       [string(@name) = string(current()/@name)][1])">
        <xsl:call-template name="duplicate">
          <xsl:with-param name="rule" select="6"/>
          <xsl:with-param name="repository" select="'Services'"/>
          <xsl:with-param name="tail" select="concat('. Service name is ', @name)"/>
        </xsl:call-template>
      </xsl:if>
      <xsl:if test="generate-id() = generate-id($same[self::Service][1])">
        <xsl:call-template name="shared">
          <xsl:with-param name="rule" select="19"/>
          <xsl:with-param name="entity" select="'Service'"/>
          <xsl:with-param name="same" select="$same[not(self::Service)]"/>
        </xsl:call-template>
      </xsl:if>
    </xsl:if>
    <xsl:call-template name="format">
      <xsl:with-param name="rule" select="12"/>
      <xsl:with-param name="repository" select="'Services'"/>
    </xsl:call-template>
    <xsl:if test="string(@msid) and not(key('entry', @msid)[self::Messageserver])">
      <xsl:call-template name="finding">
        <xsl:with-param name="rule" select="16"/>
        <xsl:with-param name="text"
                        select="concat('The service with UUID: ', @uuid,
                                   ' references to non-existing message server with UUID: ',
                                   @msid)"/>
      </xsl:call-template>
    </xsl:if>
    <xsl:if test="@uses_webdispatcher = '1'
                  and (not(string(@msid)) or not(key('webdispatcher-by-msid', @msid)))">
      <xsl:call-template name="finding">
        <xsl:with-param name="rule" select="17"/>
        <xsl:with-param name="text"
                        select="concat('The service: ', @uuid, ' references to non-existing web',
                                   ' dispatcher by this msid attribute: ', @msid)"/>
      </xsl:call-template>
    </xsl:if>
    <xsl:if test="not(string(@uuid)) or not(key('item-by-service', @uuid))">
      <xsl:call-template name="finding">
        <xsl:with-param name="rule" select="30"/>
        <xsl:with-param name="text"
                        select="concat('The service ', @uuid,
                                       ' has no valid reference to any item')"/>
      </xsl:call-template>
    </xsl:if>
    <xsl:if test="(@shortcut = '1' or @shortcut = '0') and string(@link)
                  and not(key('entry', @link)[self::Service])">
      <xsl:call-template name="finding">
        <xsl:with-param name="rule" select="32 - @shortcut"/>
        <xsl:with-param name="text"
                        select="concat('The shortcut ', @uuid,
                                   ' has no valid reference to any service')"/>
      </xsl:call-template>
    </xsl:if>
  </xsl:template>

  <xsl:template match="Item">
    <xsl:if test="key('item-by-service', string(@serviceid))[2]
                  and generate-id() = generate-id(key('item-by-service', string(@serviceid))[1])">
      <xsl:call-template name="finding">
        <xsl:with-param name="rule" select="2"/>
        <xsl:with-param name="uuid" select="@serviceid"/>
        <xsl:with-param name="text"
                        select="concat('The Service UUID ', @serviceid,
                                       ' referenced more than once')"/>
      </xsl:call-template>
    </xsl:if>
    <xsl:variable name="same" select="key('entry', string(@uuid))"/>
    <xsl:if test="$same[2]">
      <xsl:if test="$same[self::Item][2]
                    and generate-id() = generate-id($same[self::Item][1])">
        <xsl:call-template name="duplicate">
          <xsl:with-param name="rule" select="8"/>
          <xsl:with-param name="repository" select="'Items'"/>
        </xsl:call-template>
      </xsl:if>
      <xsl:if test="generate-id() = generate-id($same[self::Item][1])">
        <xsl:call-template name="shared">
          <xsl:with-param name="rule" select="22"/>
          <xsl:with-param name="entity" select="'Item'"/>
          <xsl:with-param name="same" select="$same[not(self::Item)]"/>
        </xsl:call-template>
      </xsl:if>
    </xsl:if>
    <xsl:call-template name="format">
      <xsl:with-param name="rule" select="14"/>
      <xsl:with-param name="repository" select="'Items'"/>
    </xsl:call-template>
    <!-- The parent is always there, for it is the element around; it may only lack a uuid. -->
    <xsl:if test="(parent::Workspace or parent::Node) and not(string(../@uuid))">
      <xsl:call-template name="finding">
        <xsl:with-param name="rule" select="15"/>
        <xsl:with-param name="text"
                        select="concat('The item ', @uuid,
                                   ' has an incorrect reference to a non-valid parent entry: ',
                                   ../@uuid)"/>
      </xsl:call-template>
    </xsl:if>
  </xsl:template>

  <xsl:template match="Node">
    <xsl:variable name="same" select="key('entry', string(@uuid))"/>
    <xsl:if test="$same[2]">
      <xsl:if test="$same[self::Node][2]
                    and generate-id() = generate-id($same[self::Node]
                                       [string(@name) = string(current()/@name)][1])">
        <xsl:call-template name="duplicate">
          <xsl:with-param name="rule" select="7"/>
          <xsl:with-param name="repository" select="'Nodes'"/>
          <xsl:with-param name="tail" select="concat('. Node name is ', @name)"/>
        </xsl:call-template>
      </xsl:if>
      <xsl:if test="generate-id() = generate-id($same[self::Node][1])">
        <xsl:call-template name="shared">
          <xsl:with-param name="rule" select="25"/>
          <xsl:with-param name="entity" select="'Node'"/>
          <xsl:with-param name="same" select="$same[not(self::Node)]"/>
        </xsl:call-template>
      </xsl:if>
    </xsl:if>
    <xsl:call-template name="format">
      <xsl:with-param name="rule" select="13"/>
      <xsl:with-param name="repository" select="'Nodes'"/>
    </xsl:call-template>
    <xsl:if test="not(parent::Workspace or parent::Node)">
      <xsl:call-template name="finding">
        <xsl:with-param name="rule" select="29"/>
        <xsl:with-param name="text"
                        select="concat('The node ', @uuid,
                                   ' has an incorrect reference to a non-valid parent entry: ')"/>
      </xsl:call-template>
    </xsl:if>
  </xsl:template>

  <xsl:template match="Workspace">
    <xsl:variable name="same" select="key('entry', string(@uuid))"/>
    <xsl:if test="$same[2]">
      <xsl:if test="$same[self::Workspace][2]
                    and generate-id() = generate-id($same[self::Workspace]
                                       [string(@name) = string(current()/@name)][1])">
        <xsl:call-template name="duplicate">
          <xsl:with-param name="rule" select="9"/>
          <xsl:with-param name="repository" select="'Workspaces'"/>
          <xsl:with-param name="tail" select="concat('. Workspace name is ', @name)"/>
        </xsl:call-template>
      </xsl:if>
      <xsl:if test="generate-id() = generate-id($same[self::Workspace][1])">
        <xsl:call-template name="shared">
          <xsl:with-param name="rule" select="23"/>
          <xsl:with-param name="entity" select="'Workspace'"/>
          <xsl:with-param name="same" select="$same[not(self::Workspace)]"/>
        </xsl:call-template>
      </xsl:if>
    </xsl:if>
  </xsl:template>

  <xsl:template match="Messageserver">
    <xsl:variable name="same" select="key('entry', string(@uuid))"/>
    <xsl:if test="$same[2]">
      <xsl:variable name="name" select="string(@name)"/>
      <xsl:variable name="host" select="string(@host)"/>
      <xsl:variable name="copies" select="$same[self::Messageserver]"/>
      <xsl:if test="$copies[2] and generate-id() = generate-id(
                      $copies[string(@name) = $name and string(@host) = $host][1])">
        <xsl:variable name="details"
                      select="concat('. The entity is identified by the name ', $name,
                                     ', and its host corresponds to ', $host)"/>
        <xsl:choose>
          <xsl:when test="$copies[string(@name) != $name or string(@host) != $host]">
            <xsl:call-template name="duplicate">
              <xsl:with-param name="rule" select="3"/>
              <xsl:with-param name="repository" select="'MessageServers'"/>
              <xsl:with-param name="tail" select="concat($details, '. ')"/>
            </xsl:call-template>
          </xsl:when>
          <xsl:otherwise>
            <xsl:call-template name="duplicate">
              <xsl:with-param name="rule" select="4"/>
              <xsl:with-param name="repository" select="'MessageServers'"/>
              <xsl:with-param name="tail" select="$details"/>
            </xsl:call-template>
          </xsl:otherwise>
        </xsl:choose>
      </xsl:if>
      <xsl:if test="generate-id() = generate-id($same[self::Messageserver][1])">
        <xsl:call-template name="shared">
          <xsl:with-param name="rule" select="20"/>
          <xsl:with-param name="entity" select="'Message Server'"/>
          <xsl:with-param name="same" select="$same[not(self::Messageserver)]"/>
        </xsl:call-template>
      </xsl:if>
    </xsl:if>
    <xsl:call-template name="format">
      <xsl:with-param name="rule" select="10"/>
      <xsl:with-param name="repository" select="'MessageServers'"/>
    </xsl:call-template>
  </xsl:template>

  <xsl:template match="Router">
    <xsl:variable name="same" select="key('entry', string(@uuid))"/>
    <xsl:if test="$same[2]">
      <xsl:if test="$same[self::Router][2]
                    and generate-id() = generate-id($same[self::Router][1])">
        <xsl:call-template name="duplicate">
          <xsl:with-param name="rule" select="5"/>
          <xsl:with-param name="repository" select="'Routers'"/>
        </xsl:call-template>
      </xsl:if>
      <xsl:if test="generate-id() = generate-id($same[self::Router][1])">
        <xsl:call-template name="shared">
          <xsl:with-param name="rule" select="21"/>
          <xsl:with-param name="entity" select="'Router'"/>
          <xsl:with-param name="same" select="$same[not(self::Router)]"/>
        </xsl:call-template>
      </xsl:if>
    </xsl:if>
    <xsl:call-template name="format">
      <xsl:with-param name="rule" select="11"/>
      <xsl:with-param name="repository" select="'Routers'"/>
    </xsl:call-template>
  </xsl:template>

  <xsl:template match="Webdispatcher">
    <xsl:if test="string(@msid) and not(key('entry', @msid)[self::Messageserver])">
      <xsl:call-template name="finding">
        <xsl:with-param name="rule" select="18"/>
        <xsl:with-param name="text"
                        select="concat('The Web dispatcher with UUID: ', @uuid,
                                       ' references to non-existing',
                                   ' message server by msid attribute: ', @msid)"/>
      </xsl:call-template>
    </xsl:if>
    <xsl:variable name="same" select="key('entry', string(@uuid))"/>
    <xsl:if test="$same[2]">
      <xsl:if test="$same[self::Webdispatcher][2]
                    and generate-id() = generate-id($same[self::Webdispatcher]
                                       [string(@name) = string(current()/@name)][1])">
        <xsl:call-template name="duplicate">
          <xsl:with-param name="rule" select="27"/>
          <xsl:with-param name="repository" select="'WebDispatchers'"/>
          <xsl:with-param name="tail" select="concat('. Web Dispatcher name is ', @name)"/>
        </xsl:call-template>
      </xsl:if>
      <xsl:if test="generate-id() = generate-id($same[self::Webdispatcher][1])">
        <xsl:call-template name="shared">
          <xsl:with-param name="rule" select="24"/>
          <xsl:with-param name="entity" select="'Webdispatcher'"/>
          <xsl:with-param name="same" select="$same[not(self::Webdispatcher)]"/>
        </xsl:call-template>
      </xsl:if>
    </xsl:if>
  </xsl:template>

  <xsl:template match="LDAP">
    <xsl:variable name="same" select="key('entry', string(@uuid))"/>
    <xsl:if test="$same[2]">
      <xsl:if test="$same[self::LDAP][2]
                    and generate-id() = generate-id($same[self::LDAP]
                                       [string(@name) = string(current()/@name)][1])">
        <xsl:call-template name="duplicate">
          <xsl:with-param name="rule" select="28"/>
          <xsl:with-param name="repository" select="'LDAPS'"/>
          <xsl:with-param name="tail" select="concat('. LDAP name is ', @name)"/>
        </xsl:call-template>
      </xsl:if>
      <xsl:if test="generate-id() = generate-id($same[self::LDAP][1])">
        <xsl:call-template name="shared">
          <xsl:with-param name="rule" select="26"/>
          <xsl:with-param name="entity" select="'LDAP'"/>
          <xsl:with-param name="same" select="$same[not(self::LDAP)]"/>
        </xsl:call-template>
      </xsl:if>
    </xsl:if>
  </xsl:template>
</xsl:stylesheet>
