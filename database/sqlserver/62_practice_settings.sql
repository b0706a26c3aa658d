-- Lists and settings of the practice programs.

create table dbo.chair_type (
    unid            int not null primary key,
    chair_type_name varchar(40) not null,
    chairs          smallint,
    hourly_cost     money,
    mod_date        datetime not null default getdate()
);

create table dbo.shortcut (
    unid            uniqueidentifier not null default newid() primary key,
    item_name       varchar(60) not null,
    item_text       varchar(500),
    mod_date        datetime not null default getdate()
);

create table dbo.combo_values (
    unid            uniqueidentifier not null default newid() primary key,
    combo_name      varchar(40) not null,
    combo_value     varchar(60) not null,
    sort_order      smallint,
    mod_date        datetime not null default getdate()
);

create table dbo.config (
    unid            uniqueidentifier not null default newid() primary key,
    category        varchar(40) not null,
    config_name     varchar(60) not null,
    config_value    varchar(500),
    mod_date        datetime not null default getdate()
);

create table dbo.chart_option (
    unid            uniqueidentifier not null default newid() primary key,
    option_name     varchar(60) not null,
    option_group    char(8),
    sort_order      smallint,
    enabled_f       bit not null default 1,
    mod_date        datetime not null default getdate()
);

-- Follows its option. No foreign key: an option is deleted before its settings are.
create table dbo.chart_option_setting (
    unid            uniqueidentifier not null default newid() primary key,
    chart_option_id uniqueidentifier not null,
    setting_name    varchar(60) not null,
    setting_value   varchar(200),
    weight          float,
    mod_date        datetime not null default getdate()
);

create index chart_option_setting_option on dbo.chart_option_setting (chart_option_id);

create table dbo.computer_type (
    unid            uniqueidentifier not null default newid() primary key,
    type_name       varchar(60) not null,
    screen_width    int,
    mod_date        datetime not null default getdate()
);

create table dbo.computer_type_setting (
    unid             uniqueidentifier not null default newid() primary key,
    computer_type_id uniqueidentifier not null references dbo.computer_type (unid),
    setting_name     varchar(60) not null,
    setting_value    varchar(200),
    mod_date         datetime not null default getdate()
);
go
