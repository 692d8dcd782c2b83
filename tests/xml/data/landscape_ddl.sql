DROP TABLE IF EXISTS Landscape;
CREATE TABLE "Landscape" 
( 
"Landscape_id" INTEGER,
"generator" TEXT default '',
"localization" TEXT default '',
"origin" TEXT default '',
"updated" TEXT default '',
"version" TEXT default '',
"encoding" TEXT default '',
"timestamp" TEXT default '',
"client" TEXT default ''
, file_id TEXT default '' ,
PRIMARY KEY ( "Landscape_id" )
)
-- end of Landscape
DROP TABLE IF EXISTS Service;
CREATE TABLE "Service" 
( 
"Service_id" INTEGER,
"" TEXT default '' NULL,
"system_id" TEXT default '',
"temporary" TEXT default '',
"my_1st_test_attr" TEXT default '',
"auth" TEXT default '',
"canvasapptype" TEXT default '',
"cencoding" TEXT default '',
"client" TEXT default '',
"client_type" TEXT default '',
"clocale" TEXT default '',
"cmd" TEXT default '',
"cmd_type" TEXT default '',
"connid" TEXT default '',
"dcpg" TEXT default '',
"def" TEXT default '',
"description" TEXT default '',
"encoding" TEXT default '',
"expert" TEXT default '',
"filterid" TEXT default '',
"flavorid" TEXT default '',
"guiparam" TEXT default '',
"host" TEXT default '',
"hostspec" TEXT default '',
"language" TEXT default '',
"link" TEXT default '',
"mnemonic" TEXT default '',
"mode" TEXT default '',
"msid" TEXT default '',
"name" TEXT default '',
"parameters" TEXT default '',
"port" TEXT default '',
"protocol" TEXT default '',
"reuse" TEXT default '',
"rfcid" TEXT default '',
"routerid" TEXT default '',
"naxcpg" TEXT default '',
"naxguiid" TEXT default '',
"naxguitype" TEXT default '',
"scheme" TEXT default '',
"servertype" TEXT default '',
"shortcut" TEXT default '',
"server" TEXT default '',
"slc" TEXT default '',
"sncname" TEXT default '',
"sncnosso" TEXT default '',
"sncop" TEXT default '',
"sso2" TEXT default '',
"ssoparameter" TEXT default '',
"systemid" TEXT default '',
"trace" TEXT default '',
"trans" TEXT default '',
"type" TEXT default '',
"uncoff" TEXT default '',
"url" TEXT default '',
"user" TEXT default '',
"uses_webdispatcher" TEXT default '',
"uuid" TEXT default '',
"wan" TEXT default '',
"winmax" TEXT default '',
"work_dir" TEXT default '',
"wp" TEXT default ''
, file_id TEXT default '' ,
PRIMARY KEY ( "Service_id" )
)
-- end of Service
DROP TABLE IF EXISTS Memo;
CREATE TABLE "Memo" 
( 
"Memo_id" INTEGER,
"" TEXT default ''
, file_id TEXT default '' ,
PRIMARY KEY ( "Memo_id" )
)
-- end of Memo
DROP TABLE IF EXISTS Workspace;
CREATE TABLE "Workspace" 
( 
"Workspace_id" INTEGER,
"description" TEXT default '',
"expanded" TEXT default '',
"hidden" TEXT default '',
"name" TEXT default '',
"timestamp" TEXT default '',
"my_2d_test_attribute" TEXT default '',
"uuid" TEXT default ''
, file_id TEXT default '' ,
PRIMARY KEY ( "Workspace_id" )
)
-- end of Workspace
DROP TABLE IF EXISTS Messageserver;
CREATE TABLE "Messageserver" 
( 
"Messageserver_id" INTEGER,
"description" TEXT default '',
"host" TEXT default '',
"name" TEXT default '',
"port" TEXT default '',
"routerid" TEXT default '',
"ldapid" TEXT default '',
"http_port" TEXT default '',
"uuid" TEXT default ''
, file_id TEXT default '' ,
PRIMARY KEY ( "Messageserver_id" )
)
-- end of Messageserver
DROP TABLE IF EXISTS Router;
CREATE TABLE "Router" 
( 
"Router_id" INTEGER,
"description" TEXT default '',
"name" TEXT default '',
"router" TEXT default '',
"uuid" TEXT default ''
, file_id TEXT default '' ,
PRIMARY KEY ( "Router_id" )
)
-- end of Router
DROP TABLE IF EXISTS Webdispatcher;
CREATE TABLE "Webdispatcher" 
( 
"Webdispatcher_id" INTEGER,
"description" TEXT default '',
"name" TEXT default '',
"url" TEXT default '',
"uuid" TEXT default '',
"client" TEXT default '',
"msid" TEXT default ''
, file_id TEXT default '' ,
PRIMARY KEY ( "Webdispatcher_id" )
)
-- end of Webdispatcher
DROP TABLE IF EXISTS LDAP;
CREATE TABLE "LDAP" 
( 
"LDAP_id" INTEGER,
"description" TEXT default '',
"name" TEXT default '',
"server" TEXT default '',
"mode" TEXT default '',
"node" TEXT default '',
"options" TEXT default '',
"uuid" TEXT default ''
, file_id TEXT default '' ,
PRIMARY KEY ( "LDAP_id" )
)
-- end of LDAP
DROP TABLE IF EXISTS Node;
CREATE TABLE "Node" 
( 
"Node_id" INTEGER,
"description" TEXT default '',
"expanded" TEXT default '',
"hidden" TEXT default '',
"name" TEXT default '',
"timestamp" TEXT default '',
"uuid" TEXT default ''
, file_id TEXT default '' ,
parent_id TEXT default '', PRIMARY KEY ( "Node_id" )
)
-- end of Node
DROP TABLE IF EXISTS Item;
CREATE TABLE "Item" 
( 
"Item_id" INTEGER,
"hidden" TEXT default '',
"serviceid" TEXT default '',
"timestamp" TEXT default '',
"uuid" TEXT default ''
, file_id TEXT default '' ,
parent_id TEXT default '', PRIMARY KEY ( "Item_id" )
)
-- end of Item
DROP TABLE IF EXISTS Include;
CREATE TABLE "Include" 
( 
"Include_id" INTEGER,
"url" TEXT default '',
"indx" TEXT default '',
"description" TEXT default '',
"name" TEXT default ''
, PRIMARY KEY ( "Include_id" )
)
-- end of Include
DROP TABLE IF EXISTS Configuration;
CREATE TABLE "Configuration" 
( 
"Configuration_id" INTEGER,
"" TEXT default '' NULL
, file_id TEXT default '' ,
PRIMARY KEY ( "Configuration_id" )
)
-- end of Configuration
DROP TABLE IF EXISTS Parameter;
CREATE TABLE "Parameter" 
( 
"Parameter_id" INTEGER,
"key" TEXT default '',
"value" TEXT default ''
, file_id TEXT default '' ,
PRIMARY KEY ( "Parameter_id" )
)
-- end of Parameter
