-- Lists and settings of the practice programs.

create table chair_type (
    unid            integer not null primary key,
    chair_type_name varchar(40) not null,
    chairs          smallint,
    hourly_cost     numeric(19,4),
    mod_date        timestamp(3) not null default getdate()
);

create table shortcut (
    unid            uuid not null default gen_random_uuid() primary key,
    item_name       varchar(60) not null,
    item_text       varchar(500),
    mod_date        timestamp(3) not null default getdate()
);

create table combo_values (
    unid            uuid not null default gen_random_uuid() primary key,
    combo_name      varchar(40) not null,
    combo_value     varchar(60) not null,
    sort_order      smallint,
    mod_date        timestamp(3) not null default getdate()
);

create table config (
    unid            uuid not null default gen_random_uuid() primary key,
    category        varchar(40) not null,
    config_name     varchar(60) not null,
    config_value    varchar(500),
    mod_date        timestamp(3) not null default getdate()
);

create table chart_option (
    unid            uuid not null default gen_random_uuid() primary key,
    option_name     varchar(60) not null,
    option_group    char(8),
    sort_order      smallint,
    enabled_f       boolean not null default true,
    mod_date        timestamp(3) not null default getdate()
);

-- Follows its option. No foreign key: an option is deleted before its settings are.
create table chart_option_setting (
    unid            uuid not null default gen_random_uuid() primary key,
    chart_option_id uuid not null,
    setting_name    varchar(60) not null,
    setting_value   varchar(200),
    weight          double precision,
    mod_date        timestamp(3) not null default getdate()
);

create index chart_option_setting_option on chart_option_setting (chart_option_id);

create table computer_type (
    unid            uuid not null default gen_random_uuid() primary key,
    type_name       varchar(60) not null,
    screen_width    integer,
    mod_date        timestamp(3) not null default getdate()
);

create table computer_type_setting (
    unid             uuid not null default gen_random_uuid() primary key,
    computer_type_id uuid not null references computer_type (unid),
    setting_name     varchar(60) not null,
    setting_value    varchar(200),
    mod_date         timestamp(3) not null default getdate()
);
